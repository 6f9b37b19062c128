#pragma once

#include "model/body_symbol.h"
#include "model/node_symbol.h"
#include "model/port_symbol.h"

/// The node that a task on `symbol` runs: a body's or a port's, or the symbol itself; null when it has none.
[[nodiscard]] inline const node_symbol* find_running_node(kzr_symbol* symbol) {
  if (const auto* const body = symbol_cast<body_symbol>(symbol)) return &body->node();
  if (const auto* const port = symbol_cast<port_symbol>(symbol)) return &port->node();
  return symbol_cast<node_symbol>(symbol);
}
