#include "model/subgraph_node_symbol.h"

#include "common/append_number.h"
#include "model/port_symbol.h"

std::uint64_t subgraph_node_symbol::subgraph_node_count = 0;

subgraph_node_symbol::subgraph_node_symbol(const ___onx_id& id, graph_symbol& enclosing, unsigned long handle)
    : graph_symbol(id, nullptr, handle),
      node_symbol(id, enclosing, handle),
      composite_number_(subgraph_node_count++) {}

std::shared_ptr<subgraph_node_symbol> subgraph_node_symbol::create(const ___onx_id& id,
                                                                   graph_symbol& enclosing,
                                                                   unsigned long handle) {
  auto composite = std::make_shared<subgraph_node_symbol>(id, enclosing, handle);
  enclosing.add_node(*composite);
  return composite;
}

std::shared_ptr<graph_symbol> subgraph_node_symbol::get_enclosing_graph() const {
  return own_graph().shared_from_this();
}

std::string subgraph_node_symbol::get_file_name() const {
  std::string name = own_graph().get_file_name();
  name += "_sg";
  append_number(name, composite_number_);
  return name;
}

void* subgraph_node_symbol::as(symbol_class wanted) {
  switch (wanted) {
    case symbol_class::graph:
      return static_cast<graph_symbol*>(this);
    case symbol_class::node:
      return static_cast<node_symbol*>(this);
    case symbol_class::subgraph_node:
      return this;
    default:
      return nullptr;
  }
}

namespace {

port_symbol* find_port_with(const std::vector<port_symbol*>& ports, std::uint64_t d1) {
  for (port_symbol* const port : ports) {
    if (port->onx_id().d1 == d1) return port;
  }
  return nullptr;
}

}  // namespace

void subgraph_node_symbol::register_aliased_port(port_symbol& inner) {
  aliased_ports_.push_back(&inner);
  const std::uint64_t d1 = inner.onx_id().d1;
  port_symbol* outer = find_port_with(input_ports(), d1);
  if (outer == nullptr) outer = find_port_with(output_ports(), d1);
  if (outer != nullptr) link_ports(*outer, inner);
}

void subgraph_node_symbol::link_ports(port_symbol& outer, port_symbol& inner) {
  (outer.is_input() ? input_side_nodes_ : output_side_nodes_).push_back(&inner.node());
  inner.set_outer_port(&outer);
  outer.set_aliased_child(&inner);
}

port_symbol* subgraph_node_symbol::find_free_port(bool is_input, int offset) {
  const std::vector<port_symbol*>& ports = is_input ? input_ports() : output_ports();
  std::size_t& next = linked_ports_[{is_input, offset}];
  for (; next < ports.size(); ++next) {
    if (ports[next]->offset() == offset && ports[next]->aliased_child() == nullptr) return ports[next];
  }
  return nullptr;
}
