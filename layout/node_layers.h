#pragma once

#include <cstdint>
#include <vector>

#include "layout/layer_arc.h"

/// Gives each node of a connected graph a layer, from 0: right of the layers of all nodes with an arc to it,
/// and so that arcs are short. The arcs have no circles.
[[nodiscard]] std::vector<std::int32_t> find_node_layers(std::uint32_t node_count,
                                                         const std::vector<layer_arc>& arcs);
