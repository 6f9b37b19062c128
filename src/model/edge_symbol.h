#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "model/kzr_symbol.h"

class string_handles;
class port_symbol;
class text_buffer;

/// An edge from one port to another, in the graph that the source port's node is shown in.
class edge_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::edge;
  static constexpr bool lives_in_list = true;
  /// Number of the next edge of the run.
  static std::uint64_t edge_count;

  /// Takes the next edge number. Does not add the edge to its graph.
  edge_symbol(port_symbol& first, port_symbol& second);

  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  [[nodiscard]] std::string gml_id() const override;
  /// Aborts: the trace does not name edges.
  [[nodiscard]] ___onx_id onx_id() const override;
  /// The string handle of the first port's name.
  [[nodiscard]] unsigned long handle() const override;
  void dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) override;
  [[nodiscard]] void* as(symbol_class wanted) override;

  /// Appends `gml_id()` to `text`.
  void append_gml_id(text_buffer& text) const;
  /// Appends the accessors of both ends, separated by a blank.
  void append_accessors(const string_handles& handles, text_buffer& text) const;
  /// Appends the edge's GraphML line.
  void append_graphml(const string_handles& handles, text_buffer& text, const std::string& indent) const;

  /// True while the edge is one of a graph: from its addition until it is removed or replaced.
  [[nodiscard]] bool live() const { return live_; }
  /// For the graph that adds, removes or replaces the edge.
  void set_live(bool live) { live_ = live; }
  /// Gives the edge its final graph and the ports by which that graph shows its ends. The graphs do not learn
  /// of it.
  void place(graph_symbol& graph, port_symbol& first, port_symbol& second) {
    graph_ = &graph;
    first_ = &first;
    second_ = &second;
  }

  /// The graph that holds the edge, and the source and target ports by which that graph shows its ends.
  [[nodiscard]] graph_symbol& graph() const { return *graph_; }
  /// The ports at both ends: as the trace names them, and after `place` as the graph shows them.
  [[nodiscard]] port_symbol& first() const { return *first_; }
  [[nodiscard]] port_symbol& second() const { return *second_; }
  /// The number in the edge's GraphML id.
  [[nodiscard]] std::uint64_t number() const { return number_; }

 private:
  bool live_ = false;
  graph_symbol* graph_;
  port_symbol* first_;
  port_symbol* second_;
  std::uint64_t number_;
};
