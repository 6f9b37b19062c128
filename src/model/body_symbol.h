#pragma once

#include <memory>

#include "model/kzr_symbol.h"

/// The body of a node: the code that runs when the node runs.
class body_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::body;
  static constexpr bool lives_in_list = true;

  /// Does not make the body that of `node`.
  body_symbol(const ___onx_id& id, node_symbol& node) : id_(id), node_(&node) {}

  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  [[nodiscard]] std::shared_ptr<node_symbol> get_parent_node() const override;
  [[nodiscard]] ___onx_id onx_id() const override { return id_; }
  [[nodiscard]] void* as(symbol_class wanted) override;

  /// The node that the body belongs to.
  [[nodiscard]] node_symbol& node() const { return *node_; }

 private:
  ___onx_id id_;
  node_symbol* node_;
};
