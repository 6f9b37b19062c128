#include "kzr/export/shown_edges.h"

#include "common/text_buffer.h"
#include "model/edge_symbol.h"

void append_edge_id(const edge_symbol& edge, text_buffer& text) {
  edge.graph().append_gml_id(text);
  text += "::e";
  text.append_number(edge.number());
}

const subgraph_node_symbol* find_composite_around(const node_symbol& node) {
  return node.own_graph().id_graph().composite_node();
}

std::string left_out_edges_warning(std::uint64_t count) {
  return std::to_string(count) + (count == 1 ? " edge is" : " edges are") +
         " left out, at nodes that no document shows";
}
