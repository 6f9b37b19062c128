#pragma once

#include <cstdint>
#include <vector>

#include "layout/graph_layout.h"
#include "layout/layer_arc.h"

/// The arcs that the edges of a graph demand, each pair of nodes once, without circles: edges that lead back
/// to where the way to them came from are turned round. Edges of a node to itself demand nothing.
[[nodiscard]] std::vector<layer_arc> find_acyclic_arcs(const layout_graph& graph);
