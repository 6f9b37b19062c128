#include "layout/vertical_places.h"

#include <algorithm>
#include <limits>

#include "layout/block_alignment.h"

std::vector<std::int64_t> find_vertical_places(const layered_graph& graph) {
  const alignment_input input(graph);
  std::vector<std::int64_t> places;
  std::int64_t least_cost = std::numeric_limits<std::int64_t>::max();
  for (const bool to_left : {true, false}) {
    for (const bool is_turned : {false, true}) {
      const block_alignment alignment(input, to_left, is_turned);
      const std::int64_t cost = alignment.cost();
      if (cost >= least_cost) continue;
      least_cost = cost;
      places = alignment.places();
    }
  }
  const std::int64_t top = *std::ranges::min_element(places);
  for (std::int64_t& place : places) place -= top;
  return places;
}
