#include "model/body_symbol.h"

#include "model/node_symbol.h"

std::shared_ptr<graph_symbol> body_symbol::get_enclosing_graph() const {
  return node_->get_enclosing_graph();
}

std::shared_ptr<node_symbol> body_symbol::get_parent_node() const { return share(*node_); }

void* body_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }
