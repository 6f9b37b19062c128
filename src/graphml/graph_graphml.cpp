#include <ostream>

#include "common/prefetch.h"
#include "common/text_buffer.h"
#include "graphml/graphml_file.h"
#include "model/edge_symbol.h"
#include "model/graph_symbol.h"
#include "model/kzr_data_manager.h"
#include "model/node_symbol.h"

namespace {

// Lines go out in blocks of about this size.
constexpr std::size_t block_bytes = 64 * 1024;

void write_full_block(text_buffer& text, std::ostream& os) {
  if (text.size() < block_bytes) return;
  os << text.view();
  text.clear();
}

/// Lets the processor fetch what the lines of the next edges need: edges have their ends anywhere.
void fetch_ends(const std::vector<edge_symbol*>& edges, std::size_t current) {
  constexpr std::size_t steps = 4;
  if (current + 3 * steps >= edges.size()) return;
  prefetch(edges[current + 3 * steps]);
  const edge_symbol& far = *edges[current + 2 * steps];
  prefetch(&far.first());
  prefetch(&far.second());
  const edge_symbol& near = *edges[current + steps];
  prefetch(&near.first().node());
  prefetch(&near.second().node());
}

}  // namespace

std::string graph_symbol::get_file_name() const { return file_->name(); }

void graph_symbol::dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) {
  text_buffer text;
  text += indent;
  text += "<graph id=\"";
  append_gml_id(text);
  text += "\">\n";
  os << text.view();
  dump_additional_graph_data(dm, os, "    ");

  // The ids of all nodes of a graph carry the same number, the graph's, and so do those of its edges: by that
  // number they are equal. Nodes then keep the order of their names; edges go by their own number.
  const std::string inner_indent = indent + "  ";
  text.clear();
  for (const node_symbol* const node : nodes_by_name()) {
    node->append_graphml(dm, dm.handles(), text, inner_indent);
    write_full_block(text, os);
  }
  const std::vector<edge_symbol*> edges = edges_by_number();
  for (std::size_t i = 0; i < edges.size(); ++i) {
    fetch_ends(edges, i);
    edges[i]->append_graphml(dm.handles(), text, inner_indent);
    write_full_block(text, os);
  }
  os << text.view() << indent << "</graph>\n";
}

void graph_symbol::dump_additional_graph_data(kzr_data_manager&, std::ostream&, const std::string&) {}
