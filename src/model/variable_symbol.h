#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <utility>

#include "model/kzr_symbol.h"

/// A data object that OpenMP tasks depend on, with the tasks that accessed it.
class variable_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::variable;

  /// A variable that no task accessed yet. Does not add it to `graph`.
  variable_symbol(const ___onx_id& id, graph_symbol& graph) : id_(id), graph_(&graph) {}

  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  [[nodiscard]] ___onx_id onx_id() const override { return id_; }
  [[nodiscard]] void* as(symbol_class wanted) override;

  /// Notes an access by the task `id`; one of kind 'o' (a write) makes that task the producer of the value.
  void add_to_stack(const ___onx_id& id, char kind);
  /// Forgets the latest access; there must be one.
  void remove_from_stack() { stack_.pop_back(); }
  /// The latest access; there must be one.
  [[nodiscard]] const std::pair<___onx_id, char>& top_of_stack() const { return stack_.back(); }
  /// How many accesses are noted.
  [[nodiscard]] std::size_t stack_size() const { return stack_.size(); }
  /// The task that produced the value, all zero while there is none.
  [[nodiscard]] const ___onx_id& get_bottom_of_stack() const { return bottom_of_stack_; }

 private:
  ___onx_id id_;
  graph_symbol* graph_;
  ___onx_id bottom_of_stack_;
  std::deque<std::pair<___onx_id, char>> stack_;
};
