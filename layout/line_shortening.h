#pragma once

#include <cstdint>
#include <span>
#include <vector>

struct layered_graph;

/// Moves blocks of elements, each of which moves as one, up and down until lines run up and down as little as
/// can be: what one block after the other cannot reach. `blocks` has the first element of each one's block,
/// `tops` the upper sides. Leaves graphs as they are that are too large for it.
void shorten_lines(const layered_graph& graph, std::span<const std::uint32_t> blocks,
                   std::vector<std::int64_t>& tops);
