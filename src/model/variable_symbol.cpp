#include "model/variable_symbol.h"

#include "model/graph_symbol.h"

std::shared_ptr<graph_symbol> variable_symbol::get_enclosing_graph() const {
  return graph_->shared_from_this();
}

void* variable_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }

void variable_symbol::add_to_stack(const ___onx_id& id, char kind) {
  stack_.emplace_back(id, kind);
  if (kind == 'o') bottom_of_stack_ = id;
}
