#pragma once

#include <cstddef>

#include "common/prefetch.h"
#include "model/edge_symbol.h"
#include "model/port_symbol.h"

/// How many edges ahead both are worth it.
inline constexpr std::size_t steps_to_ports = 8;
inline constexpr std::size_t steps_to_nodes = 4;

/// Starts to fetch the ends of an edge into the caches, for those who go through many edges: they have their
/// ends anywhere. First the ports, then, when those are there, their nodes.
inline void prefetch_ports(const edge_symbol& edge) {
  prefetch_two_lines(&edge.first());
  prefetch_two_lines(&edge.second());
}
inline void prefetch_nodes(const edge_symbol& edge) {
  prefetch(&edge.first().node());
  prefetch(&edge.second().node());
}
