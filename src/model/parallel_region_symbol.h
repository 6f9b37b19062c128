#pragma once

#include <cstdint>
#include <string>

#include "model/kzr_symbol.h"

/// An OpenMP parallel region.
class parallel_region_symbol : public virtual_enable_shared_from_this<parallel_region_symbol> {
 public:
  static constexpr symbol_class own_class = symbol_class::parallel_region;
  /// Number of the next parallel region of the run.
  static std::uint64_t parallel_region_count;

  /// Takes the next number; `parent` is null for a region that no known region encloses, `handle` the
  /// string handle of the region's name.
  parallel_region_symbol(const ___onx_id& id, parallel_region_symbol* parent, unsigned long handle);

  [[nodiscard]] std::string gml_id() const override { return gml_id_; }
  [[nodiscard]] ___onx_id onx_id() const override { return id_; }
  [[nodiscard]] unsigned long handle() const override { return handle_; }
  [[nodiscard]] void* as(symbol_class wanted) override;

  /// The region around it; null when there is none, or none known.
  [[nodiscard]] parallel_region_symbol* parent() const { return parent_; }

 private:
  ___onx_id id_;
  parallel_region_symbol* parent_;
  unsigned long handle_;
  std::string gml_id_;
};
