#include "model/graph_symbol.h"

#include "common/text_buffer.h"
#include "model/node_symbol.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"
#include "model/variable_symbol.h"

graph_symbol::graph_symbol(const ___onx_id& id, std::uint64_t number)
    : kzr_symbol(own_class, id), gml_id_("g" + std::to_string(number)) {}

graph_symbol::graph_symbol(const ___onx_id& id, subgraph_node_symbol& composite)
    : kzr_symbol(own_class, id), composite_(&composite) {}

void graph_symbol::set_gml_id(std::uint64_t number) { gml_id_ = "omp" + std::to_string(number); }

void graph_symbol::append_gml_id(text_buffer& text) const {
  if (composite_ != nullptr) {
    composite_->append_gml_id(text);
  } else {
    text += gml_id_;
  }
}

const std::string& graph_symbol::name_prefix() {
  // The id of a composite node depends on those around it.
  if (composite_ != nullptr || name_prefixes_.empty()) {
    text_buffer id;
    append_gml_id(id);
    if (name_prefixes_.empty() || name_prefixes_.back() != id.view()) name_prefixes_.emplace_back(id.view());
  }
  return name_prefixes_.back();
}

void graph_symbol::add_node(node_symbol& node) {
  node.index_in_graph_ = static_cast<std::uint32_t>(nodes_.size());
  nodes_.push_back(&node);
}

void graph_symbol::take_node(node_symbol& node) {
  node.graph_->nodes_[node.index_in_graph_] = nullptr;
  node.graph_ = this;
  add_node(node);
}

node_symbol* graph_symbol::find_node_with(std::uint64_t d1) {
  const auto has = [this](std::uint64_t word) {
    return
        [this, word](std::uint32_t index_and_one) { return nodes_[index_and_one - 1]->onx_id().d1 == word; };
  };
  while (indexed_nodes_ < nodes_.size()) {
    const std::uint64_t word = nodes_[indexed_nodes_++]->onx_id().d1;
    nodes_by_d1_.put(seeded_hash{}(word), static_cast<std::uint32_t>(indexed_nodes_), has(word));
  }
  const std::uint32_t found = nodes_by_d1_.find(seeded_hash{}(d1), has(d1));
  return found == 0 ? nullptr : nodes_[found - 1];
}

const graph_symbol::registered_port* graph_symbol::find_last_port_with(std::uint64_t d1) {
  const auto has = [this](std::uint64_t word) {
    return [this, word](std::uint32_t index_and_one) { return port_at(index_and_one)->onx_id().d1 == word; };
  };
  while (indexed_ports_ < ports_.size()) {
    registered_port& added = ports_[indexed_ports_++];
    const auto index_and_one = static_cast<std::uint32_t>(indexed_ports_);
    const std::uint64_t word = added.port->onx_id().d1;
    added.earlier = ports_by_d1_.put(seeded_hash{}(word), index_and_one, has(word));
    added.first = added.earlier == 0 ? index_and_one : ports_[added.earlier - 1].first;
  }
  const std::uint32_t found = ports_by_d1_.find(seeded_hash{}(d1), has(d1));
  return found == 0 ? nullptr : &ports_[found - 1];
}

port_symbol* graph_symbol::get_aliased_port(const port_symbol& port) {
  const registered_port* const last = find_last_port_with(port.onx_id().d1);
  return last == nullptr ? nullptr : port_at(last->earlier);
}

port_symbol* graph_symbol::get_omp_aliased_port(const port_symbol& port) {
  const registered_port* const last = find_last_port_with(port.onx_id().d1);
  return last == nullptr ? nullptr : port_at(last->first);
}

void graph_symbol::add_variable(variable_symbol& variable) { variables_[variable.onx_id()] = &variable; }

variable_symbol* graph_symbol::find_variable(const ___onx_id& id) const {
  const auto found = variables_.find(id);
  return found == variables_.end() ? nullptr : found->second;
}

template <>
graph_symbol* symbol_cast<graph_symbol>(kzr_symbol* symbol) {
  if (symbol == nullptr) return nullptr;
  if (symbol->type() == symbol_class::graph) return static_cast<graph_symbol*>(symbol);
  auto* const composite = symbol_cast<subgraph_node_symbol>(symbol);
  return composite == nullptr ? nullptr : &composite->inner_graph();
}
