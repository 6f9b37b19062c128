#include "layout/vertical_places.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "layout/block_alignment.h"
#include "layout/line_shortening.h"

std::vector<std::int64_t> find_vertical_places(const layered_graph& graph) {
  const alignment_input input(graph);
  std::optional<block_alignment> best;
  for (const bool to_left : {true, false}) {
    for (const bool is_turned : {false, true}) {
      block_alignment alignment(input, to_left, is_turned);
      alignment.move_to_neighbours();
      if (!best || alignment.cost() < best->cost()) best.emplace(std::move(alignment));
    }
  }
  std::vector<std::int64_t> places = best->places();
  shorten_lines(graph, best->blocks(), places);
  const std::int64_t top = *std::ranges::min_element(places);
  for (std::int64_t& place : places) place -= top;
  return places;
}
