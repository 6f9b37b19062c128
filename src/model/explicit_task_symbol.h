#pragma once

#include "model/kzr_symbol.h"

/// An OpenMP task that an implicit task created. A node of its own shows it in the graph.
class explicit_task_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::explicit_task;

  explicit explicit_task_symbol(const ___onx_id& id) : kzr_symbol(own_class, id) {}
};
