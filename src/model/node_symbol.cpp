#include "model/node_symbol.h"

#include <array>
#include <vector>

#include "common/append_number.h"
#include "common/kzr_assert.h"
#include "common/text_buffer.h"
#include "model/graph_symbol.h"
#include "model/subgraph_node_symbol.h"
#include "model/symbol_list.h"

std::uint64_t node_symbol::node_count = 0;

node_symbol::node_symbol(const ___onx_id& id, graph_symbol& graph, unsigned long handle)
    : graph_(&graph),
      number_(static_cast<std::uint32_t>(node_count++)),
      name_prefix_(graph.name_prefix()),
      id_(id),
      handle_(handle) {}

std::string node_symbol::name() const {
  std::string name = name_prefix_;
  append_number(name, number_);
  return name;
}

void node_symbol::add_metadata(unsigned long key, unsigned long type, const char* value) {
  if (metadata_value_ == nullptr || metadata_key_ == key) {
    metadata_key_ = key;
    metadata_value_ = value;
  } else {
    kzr_symbol::add_metadata(key, type, value);
  }
}

std::string_view node_symbol::find_metadata(unsigned long key) const {
  if (metadata_value_ != nullptr && metadata_key_ == key) return metadata_value_;
  return kzr_symbol::find_metadata(key);
}

void node_symbol::set_code_location(std::string_view location) {
  if (location != code_location_) code_location_ = list().arena().copy(location);
}

void node_symbol::add_input_port(port_symbol& port) { input_ports_.add(port, list().arena()); }

void node_symbol::add_output_port(port_symbol& port) { output_ports_.add(port, list().arena()); }

graph_symbol* node_symbol::find_enclosing_graph() const {
  if (visible_) return graph_;
  const subgraph_node_symbol* const composite = graph_->composite_node();
  return composite != nullptr ? &composite->own_graph() : graph_->get_enclosing_graph().get();
}

std::shared_ptr<graph_symbol> node_symbol::get_enclosing_graph() const {
  graph_symbol* const graph = find_enclosing_graph();
  return graph == nullptr ? nullptr : graph->shared_from_this();
}

graph_symbol& node_symbol::graph_for_ports() const {
  graph_symbol* const graph = find_enclosing_graph();
  return graph != nullptr ? *graph : *graph_;
}

std::string node_symbol::gml_id() const {
  text_buffer id;
  append_gml_id(id);
  return std::string(id.view());
}

void node_symbol::append_gml_id(text_buffer& text) const {
  if (visible_ && graph_->composite_node() == nullptr) {
    graph_->append_gml_id(text);
    text += "::n";
    append_number(text, number_);
    return;
  }
  // Composite nodes may be nested as deep as the trace likes, so the way up is a loop; few are.
  std::array<std::uint32_t, 8> nearest;
  std::vector<std::uint32_t> others;
  std::size_t depth = 0;
  const node_symbol* node = this;
  for (; const subgraph_node_symbol* const composite = node->graph_->composite_node(); node = composite) {
    if (!node->visible_) continue;
    if (depth < nearest.size()) {
      nearest[depth] = node->number_;
    } else {
      others.push_back(node->number_);
    }
    ++depth;
  }
  node->graph_->append_gml_id(text);
  const auto append_part = [&text](std::uint32_t number) {
    text += "::n";
    append_number(text, number);
  };
  if (node->visible_) append_part(node->number_);
  for (; depth > nearest.size(); --depth) append_part(others[depth - 1 - nearest.size()]);
  for (; depth > 0; --depth) append_part(nearest[depth - 1]);
}

void node_symbol::set_sub_graph(graph_symbol& graph) {
  KZR_ASSERT(graph.composite_node() != nullptr, "ERROR: Try to populate graph instead of subgraph pointer !");
  graph.take_node(*this);
}

void* node_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }
