#pragma once

#include "model/kzr_symbol.h"

class parallel_region_symbol;

/// The share of one thread in an OpenMP parallel region.
class implicit_task_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::implicit_task;

  implicit_task_symbol(const ___onx_id& id, const parallel_region_symbol* region)
      : kzr_symbol(own_class, id), region_(region) {}

  /// The region that the task has a share in; null when unknown.
  [[nodiscard]] const parallel_region_symbol* region() const { return region_; }

 private:
  const parallel_region_symbol* region_;
};
