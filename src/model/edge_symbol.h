#pragma once

#include <cstdint>

class graph_symbol;
class port_symbol;

/// An edge from one port to another. The trace names edges by their ports, so they have no identifier.
class edge_symbol {
 public:
  /// Made in `graph`, from the port `first` to `second`; `number` is that of its GraphML id.
  edge_symbol(graph_symbol& graph, port_symbol& first, port_symbol& second, std::uint32_t number)
      : graph_(&graph), first_(&first), second_(&second), number_(number) {}

  /// The graph that holds the edge: the one it was made in and, once inner graphs are complete, the one that
  /// shows it.
  [[nodiscard]] graph_symbol& graph() const { return *graph_; }
  /// The ports at both ends: as the trace names them and, once inner graphs are complete, as the graph shows
  /// them.
  [[nodiscard]] port_symbol& first() const { return *first_; }
  [[nodiscard]] port_symbol& second() const { return *second_; }
  /// The number in the edge's GraphML id: edges are numbered from 0 in the order of their creation.
  [[nodiscard]] std::uint32_t number() const { return number_; }

  /// Gives the edge its final graph and the ports by which that graph shows its ends.
  void show_in(graph_symbol& graph, port_symbol& first, port_symbol& second) {
    graph_ = &graph;
    first_ = &first;
    second_ = &second;
  }

  /// False once the edge was removed or replaced.
  [[nodiscard]] bool is_live() const { return is_live_; }
  void end_life() { is_live_ = false; }

 private:
  graph_symbol* graph_;
  port_symbol* first_;
  port_symbol* second_;
  std::uint32_t number_;
  bool is_live_ = true;
};
