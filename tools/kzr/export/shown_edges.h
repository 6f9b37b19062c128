#pragma once

#include "analysis/inner_ends.h"
#include "analysis/run_nodes.h"
#include "kzr/report/run_report.h"

class edge_symbol;

/// An edge of the documents.
struct shown_edge {
  const edge_symbol& edge;
  edge_ends ends;  ///< as its document shows them
  /// Composite nodes looked into: the innermost nodes that a document shows; null where none is shown.
  edge_ends inner;
};

/// Goes through the edges of the documents, in their order.
class shown_edges {
 public:
  /// Borrows the report.
  explicit shown_edges(const run_report& report)
      : report_(report),
        inner_ends_([&report](const node_symbol& node) { return report.nodes.is_shown(node); }) {}
  shown_edges(const shown_edges&) = delete;
  shown_edges& operator=(const shown_edges&) = delete;

  template <class Visit>
  void for_each(Visit visit) {
    for (const graphml_file& document : report_.recorded.model->files()) {
      for (const graph_symbol* const graph : document.graphs) {
        for (const edge_symbol* const edge : graph->edges()) {
          const edge_ends ends = ends_of(*edge);
          visit(shown_edge{*edge, ends, {inner_ends_.find(*ends.source), inner_ends_.find(*ends.target)}});
        }
      }
    }
  }

 private:
  const run_report& report_;
  inner_ends inner_ends_;
};

/// Appends the id that the documents give an edge.
void append_edge_id(const edge_symbol& edge, text_buffer& text);

/// The composite node around a shown node that a document shows, too; null at the top.
[[nodiscard]] const subgraph_node_symbol* find_composite_around(const node_symbol& node);

/// The warning about as many edges that end where nothing is shown.
[[nodiscard]] std::string left_out_edges_warning(std::uint64_t count);
