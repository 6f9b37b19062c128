#pragma once

#include <cstdint>
#include <vector>

#include "layout/graph_layout.h"

/// The parts of a graph that no edge connects, each with its nodes, ports and edges in their order. Listed by
/// their first nodes.
struct graph_component {
  layout_graph graph;
  std::vector<std::uint32_t> nodes;  ///< their numbers in the whole graph
  std::vector<std::uint32_t> edges;
};

[[nodiscard]] std::vector<graph_component> split_into_components(const layout_graph& graph);
