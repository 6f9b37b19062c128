#include "analysis/run_nodes.h"

#include "common/text_buffer.h"
#include "model/kzr_data_manager.h"
#include "model/subgraph_node_symbol.h"

run_nodes::run_nodes(const kzr_data_manager& model) : by_symbol_number_(model.counts().nodes, unknown) {
  for (const graphml_file& document : model.files()) {
    for (const graph_symbol* const graph : document.graphs) {
      for (const node_symbol* const symbol : graph->nodes()) {
        if (symbol == nullptr || !symbol->visible()) continue;
        nodes_[find_or_add(*symbol)].shown = symbol;
      }
    }
  }
}

std::uint32_t run_nodes::find_or_add(const node_symbol& symbol) {
  std::uint32_t& known = by_symbol_number_[symbol.number()];
  if (known == unknown) known = add(symbol);
  return known;
}

std::uint32_t run_nodes::add(const node_symbol& symbol) {
  const node_symbol* named = &symbol;
  while (!named->visible()) {
    const graph_symbol& graph = named->own_graph();
    if (graph.composite_node() == nullptr) return find_or_add(graph);
    named = graph.composite_node();
  }
  text_buffer id;
  named->append_gml_id(id);
  const std::uint32_t number = find_or_add(id.view());
  if (named->type() == symbol_class::subgraph_node) nodes_[number].is_composite = true;
  return number;
}

std::uint32_t run_nodes::find_or_add(const graph_symbol& symbol) {
  if (symbol.composite_node() != nullptr) return find_or_add(*symbol.composite_node());
  text_buffer id;
  symbol.append_gml_id(id);
  return find_or_add(id.view());
}

std::uint32_t run_nodes::find_or_add(std::string_view id) {
  const auto known = by_id_.find(id);
  if (known != by_id_.end()) return known->second;
  nodes_.push_back({.id = std::string(id)});
  by_id_.emplace(nodes_.back().id, size() - 1);
  return size() - 1;
}

std::uint32_t run_nodes::get(const node_symbol& symbol) const { return by_symbol_number_[symbol.number()]; }

bool run_nodes::is_shown(const node_symbol& symbol) const {
  const std::uint32_t number = get(symbol);
  return number != unknown && nodes_[number].shown == &symbol;
}
