#pragma once

#include <cstdint>
#include <string>

#include "model/kzr_symbol.h"

class parallel_region_symbol;

/// The share of one thread in an OpenMP parallel region.
class implicit_task_symbol : public virtual_enable_shared_from_this<implicit_task_symbol> {
 public:
  static constexpr symbol_class own_class = symbol_class::implicit_task;
  /// Number of the next implicit task of the run.
  static std::uint64_t implicit_task_count;

  /// Takes the next number; `region` is null when the region is unknown, `handle` the string handle of the
  /// task's name.
  implicit_task_symbol(const ___onx_id& id, parallel_region_symbol* region, unsigned long handle);

  [[nodiscard]] std::string gml_id() const override { return gml_id_; }
  [[nodiscard]] ___onx_id onx_id() const override { return id_; }
  [[nodiscard]] unsigned long handle() const override { return handle_; }
  [[nodiscard]] void* as(symbol_class wanted) override;

  /// The region that the task has a share in; null when unknown.
  [[nodiscard]] parallel_region_symbol* region() const { return region_; }

 private:
  ___onx_id id_;
  parallel_region_symbol* region_;
  unsigned long handle_;
  std::string gml_id_;
};
