#pragma once

#include "model/kzr_symbol.h"

class node_symbol;

/// The body of a node: the code that runs when the node runs.
class body_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::body;

  body_symbol(const ___onx_id& id, const node_symbol& node) : kzr_symbol(own_class, id), node_(node) {}

  /// The node that the body belongs to.
  [[nodiscard]] const node_symbol& node() const { return node_; }

 private:
  const node_symbol& node_;
};
