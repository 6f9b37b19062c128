#pragma once

#include <cstdint>
#include <vector>

struct layered_graph;

/// The y of the upper side of each element, from 0: elements of a layer do not overlap and keep their order,
/// long edges are straight, and as many others as can be.
[[nodiscard]] std::vector<std::int64_t> find_vertical_places(const layered_graph& graph);
