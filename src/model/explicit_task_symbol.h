#pragma once

#include <cstdint>
#include <string>

#include "model/kzr_symbol.h"

class implicit_task_symbol;

/// An OpenMP task that an implicit task created. A node of its own shows it in the graph.
class explicit_task_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::explicit_task;
  /// Number of the next explicit task of the run.
  static std::uint64_t explicit_task_count;

  /// Takes the next number.
  explicit_task_symbol(const ___onx_id& id, implicit_task_symbol& implicit_task);

  [[nodiscard]] std::string gml_id() const override { return gml_id_; }
  [[nodiscard]] ___onx_id onx_id() const override { return id_; }
  [[nodiscard]] void* as(symbol_class wanted) override;

  /// The task that created it.
  [[nodiscard]] implicit_task_symbol& implicit_task() const { return *implicit_task_; }

 private:
  ___onx_id id_;
  std::string gml_id_;
  implicit_task_symbol* implicit_task_;
};
