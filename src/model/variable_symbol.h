#pragma once

#include "model/kzr_symbol.h"

/// A data object that OpenMP tasks depend on.
class variable_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::variable;

  explicit variable_symbol(const ___onx_id& id) : kzr_symbol(own_class, id) {}

  /// The task that produced the value, all zero while there is none.
  [[nodiscard]] const ___onx_id& producer() const { return producer_; }
  void set_producer(const ___onx_id& task) { producer_ = task; }

 private:
  ___onx_id producer_;
};
