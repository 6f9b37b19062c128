#include "model/subgraph_node_symbol.h"

#include "model/port_symbol.h"

port_symbol* subgraph_node_symbol::ports_by_d1::find(std::span<port_symbol* const> ports, std::uint64_t d1) {
  for (; known_ports_ < ports.size(); ++known_ports_) {
    table_.emplace(ports[known_ports_]->onx_id().d1, ports[known_ports_]);
  }
  const auto found = table_.find(d1);
  return found == table_.end() ? nullptr : found->second;
}

void subgraph_node_symbol::register_aliased_port(port_symbol& inner) {
  aliased_ports_.push_back(&inner);
  const std::uint64_t d1 = inner.onx_id().d1;
  port_symbol* outer = inputs_by_d1_.find(input_ports(), d1);
  if (outer == nullptr) outer = outputs_by_d1_.find(output_ports(), d1);
  if (outer != nullptr) link_ports(*outer, inner);
}

void subgraph_node_symbol::link_ports(port_symbol& outer, port_symbol& inner) {
  (outer.is_input() ? input_aliases_ : output_aliases_).push_back({&outer, &inner});
  inner.set_outer_port(&outer);
  outer.set_aliased_child(&inner);
}

port_symbol* subgraph_node_symbol::find_free_port(bool is_input, int offset) {
  const std::span<port_symbol* const> ports = is_input ? input_ports() : output_ports();
  std::size_t& next = linked_ports_[{is_input, offset}];
  for (; next < ports.size(); ++next) {
    if (ports[next]->offset() == offset && ports[next]->aliased_child() == nullptr) return ports[next];
  }
  return nullptr;
}
