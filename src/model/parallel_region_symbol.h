#pragma once

#include <cstdint>
#include <string>

#include "model/kzr_symbol.h"

/// An OpenMP parallel region.
class parallel_region_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::parallel_region;

  /// `parent` is null for a region that no known region encloses, `handle` the string handle of the region's
  /// name, `number` its number in the run.
  parallel_region_symbol(const ___onx_id& id, const parallel_region_symbol* parent, std::uint64_t handle,
                         std::uint64_t number)
      : kzr_symbol(own_class, id), parent_(parent), handle_(handle), number_(number) {}

  /// "p" and the region's number.
  [[nodiscard]] std::string gml_id() const { return "p" + std::to_string(number_); }
  /// The string handle of the region's name.
  [[nodiscard]] std::uint64_t handle() const { return handle_; }
  /// The region around it; null when there is none, or none known.
  [[nodiscard]] const parallel_region_symbol* parent() const { return parent_; }

 private:
  const parallel_region_symbol* parent_;
  std::uint64_t handle_;
  std::uint64_t number_;
};
