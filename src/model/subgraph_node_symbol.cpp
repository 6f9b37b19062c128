#include "model/subgraph_node_symbol.h"

#include "common/append_number.h"
#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"

std::uint64_t subgraph_node_symbol::subgraph_node_count = 0;

subgraph_node_symbol::subgraph_node_symbol(const ___onx_id& id, graph_symbol& enclosing, unsigned long handle)
    : graph_symbol(id, *this, handle),
      node_symbol(id, enclosing, handle),
      composite_number_(subgraph_node_count++) {}

std::shared_ptr<subgraph_node_symbol> subgraph_node_symbol::create(symbol_list& symbols, const ___onx_id& id,
                                                                   graph_symbol& enclosing,
                                                                   unsigned long handle) {
  auto& composite = symbols.make<subgraph_node_symbol>(id, enclosing, handle);
  enclosing.add_node(composite);
  return share(composite);
}

std::shared_ptr<graph_symbol> subgraph_node_symbol::get_enclosing_graph() const {
  return own_graph().shared_from_this();
}

std::string subgraph_node_symbol::get_file_name() const {
  // From the inside out, in a loop: composite nodes may be nested as deep as the trace likes.
  std::vector<std::uint64_t> numbers;
  const graph_symbol* graph = this;
  while (const subgraph_node_symbol* const composite = graph->composite_node()) {
    numbers.push_back(composite->composite_number_);
    graph = &composite->own_graph();
  }
  std::string name = graph->get_file_name();
  for (auto number = numbers.rbegin(); number != numbers.rend(); ++number) {
    name += "_sg";
    append_number(name, *number);
  }
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

port_symbol* subgraph_node_symbol::ports_by_d1::find(std::span<port_symbol* const> ports, std::uint64_t d1) {
  for (; known_ports_ < ports.size(); ++known_ports_) {
    port_symbol*& first = table_.place(ports[known_ports_]->onx_id().d1);
    if (first == nullptr) first = ports[known_ports_];
  }
  return table_.value_or_default(d1);
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

void subgraph_node_symbol::init_sub_graphs(kzr_data_manager* dm) {
  // What is nested deeper has its turn when the files appended here are post-processed.
  for (subgraph_node_symbol* const nested : nested_composites_) nested->add_file(dm);
}

void subgraph_node_symbol::set_inner_visibility(kzr_data_manager* dm) {
  if (is_streaming_node(*dm)) inner_visible_ = false;
}

bool subgraph_node_symbol::is_streaming_node(const kzr_data_manager& dm) const {
  return handle() != string_handles::unset && dm.handles().is(vocabulary_word::opencl_node, handle());
}

void subgraph_node_symbol::add_file(kzr_data_manager* dm) {
  if (inner_visible_ && own_file() == nullptr) set_file(dm->add_file(*this).get());
}

void subgraph_node_symbol::hide() {
  inner_visible_ = false;
  set_visible(false);
}
