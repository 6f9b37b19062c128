#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

#include "common/flat_index.h"
#include "model/edge_symbol.h"

/// All edges of a run, by number, and a look-up of the live ones by graph and ends.
class edge_table {
 public:
  /// Makes an edge of `graph` between the two ports, in place of one between the same ports there.
  edge_symbol& add(graph_symbol& graph, port_symbol& source, port_symbol& target);
  /// Ends the life of the edge of `graph` between the two ports; null when there is none.
  const edge_symbol* remove(const graph_symbol& graph, const port_symbol& source, const port_symbol& target);

  /// The edge with that number.
  [[nodiscard]] edge_symbol& get(std::uint32_t number) { return edges_[number]; }
  [[nodiscard]] const edge_symbol& get(std::uint32_t number) const { return edges_[number]; }
  /// How many edges were made; all numbers are below.
  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(edges_.size()); }
  /// How many of them were neither removed nor replaced.
  [[nodiscard]] std::size_t count_live() const { return live_edges_.size(); }

  /// Starts to fetch the slot of an edge between the two ports into the caches.
  void prefetch(const port_symbol& source, const port_symbol& target) const;

 private:
  [[nodiscard]] auto is_between(const graph_symbol& graph, const port_symbol& source,
                                const port_symbol& target) const;

  std::deque<edge_symbol> edges_;
  flat_index live_edges_;  ///< one more than the number
};
