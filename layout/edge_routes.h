#pragma once

#include <cstdint>
#include <span>

#include "layout/graph_layout.h"
#include "layout/layered_graph.h"

/// The drawing of a graph whose elements have layers and `tops`, the y of their upper sides: columns for the
/// layers, and where edges bend. Lines slant between columns only, so they cross no node.
[[nodiscard]] graph_layout route_edges(const layout_graph& graph, const layered_graph& layered,
                                       std::span<const std::int64_t> tops);
