#include "layout/block_alignment.h"

#include <algorithm>
#include <limits>
#include <tuple>

alignment_input::alignment_input(const layered_graph& layered)
    : graph(layered),
      at_left(layered, &layered_graph::line::right),
      at_right(layered, &layered_graph::line::left),
      positions(layered.elements.size()),
      gives_way(layered.lines.size()) {
  for (const auto& layer : graph.layers) {
    for (std::uint32_t i = 0; i < layer.size(); ++i) positions[layer[i]] = i;
  }
  const auto place_of = [this](const layered_graph::line_end& end) {
    return std::tuple(positions[end.element], end.slot);
  };
  at_left.sort([&](std::uint32_t line) { return place_of(graph.lines[line].left); });
  at_right.sort([&](std::uint32_t line) { return place_of(graph.lines[line].right); });
  find_lines_that_give_way();
}

void alignment_input::find_lines_that_give_way() {
  const auto is_inner = [this](const layered_graph::line& line) {
    return graph.is_bend(line.left.element) && graph.is_bend(line.right.element);
  };
  for (const auto& layer : graph.layers) {
    // Between two inner lines that follow each other in this layer, others must end between the same two in
    // the layer on the left.
    std::size_t first = 0;
    std::uint32_t least = 0;
    for (std::size_t i = 0; i <= layer.size(); ++i) {
      std::uint32_t greatest = UINT32_MAX;
      if (i < layer.size()) {
        const auto lines = at_left.at(layer[i]);
        const auto inner =
            std::ranges::find_if(lines, [&](std::uint32_t line) { return is_inner(graph.lines[line]); });
        if (inner == lines.end()) continue;
        greatest = positions[graph.lines[*inner].left.element];
      }
      for (; first < std::min(i + 1, layer.size()); ++first) {
        for (const std::uint32_t line : at_left.at(layer[first])) {
          const std::uint32_t position = positions[graph.lines[line].left.element];
          if ((position < least || position > greatest) && !is_inner(graph.lines[line])) {
            gives_way[line] = true;
          }
        }
      }
      least = greatest;
    }
  }
}

block_alignment::block_alignment(const alignment_input& input, bool to_left, bool is_turned)
    : input_(input),
      to_left_(to_left),
      is_turned_(is_turned),
      blocks_(input.graph.elements.size()),
      next_(input.graph.elements.size(), none),
      shifts_(input.graph.elements.size()),
      block_places_(input.graph.elements.size(), std::numeric_limits<std::int64_t>::min()) {
  align();
  push_together();
}

void block_alignment::align() {
  for (std::uint32_t element = 0; element < blocks_.size(); ++element) blocks_[element] = element;
  const auto& layers = input_.graph.layers;
  for (std::size_t i = 1; i < layers.size(); ++i) {
    const auto& layer = layers[to_left_ ? i : layers.size() - 1 - i];
    std::int64_t last_position = -1;
    if (is_turned_) {
      for (auto element = layer.rbegin(); element != layer.rend(); ++element) {
        align_with_middle(*element, last_position);
      }
    } else {
      for (const std::uint32_t element : layer) align_with_middle(element, last_position);
    }
  }
}

/// `last_position` is that of the last one in the layer beside this one that another is aligned with, counted
/// from where the alignment begins.
void block_alignment::align_with_middle(std::uint32_t element, std::int64_t& last_position) {
  const layered_graph& graph = input_.graph;
  const auto lines = (to_left_ ? input_.at_left : input_.at_right).at(element);
  if (lines.empty()) return;
  const std::size_t upper = (lines.size() - 1) / 2;
  const std::size_t lower = lines.size() / 2;
  for (const std::size_t middle : {is_turned_ ? lower : upper, is_turned_ ? upper : lower}) {
    const layered_graph::line& line = graph.lines[lines[middle]];
    const layered_graph::line_end& own = to_left_ ? line.right : line.left;
    const layered_graph::line_end& far = to_left_ ? line.left : line.right;
    const std::size_t layer_size = graph.layers[graph.elements[far.element].layer].size();
    const std::int64_t from_top = input_.positions[far.element];
    const std::int64_t position =
        is_turned_ ? static_cast<std::int64_t>(layer_size) - 1 - from_top : from_top;
    if (input_.gives_way[lines[middle]] || position <= last_position) continue;
    blocks_[element] = blocks_[far.element];
    next_[far.element] = element;
    const std::int64_t shift = far.y - own.y;
    shifts_[element] = shifts_[far.element] + (is_turned_ ? -shift : shift);
    last_position = position;
    return;
  }
}

std::uint32_t block_alignment::neighbour(std::uint32_t element, bool before) const {
  const auto& layer = input_.graph.layers[input_.graph.elements[element].layer];
  const std::uint32_t position = input_.positions[element];
  if (before != is_turned_) return position == 0 ? none : layer[position - 1];
  return position + 1 == layer.size() ? none : layer[position + 1];
}

std::int64_t block_alignment::distance(std::uint32_t element, std::uint32_t next) const {
  return end_of(element) + input_.graph.gap_between(element, next) - begin_of(next);
}

/// Puts each block as near to the begin as those before it let it be.
void block_alignment::push_together() {
  std::vector<std::uint32_t> missing(blocks_.size());
  for (std::uint32_t element = 0; element < blocks_.size(); ++element) {
    const std::uint32_t block = blocks_[element];
    if (neighbour(element, true) != none) ++missing[block];
    block_places_[block] = std::max(block_places_[block], -shifts_[element] - begin_of(element));
  }
  for (std::uint32_t element = 0; element < blocks_.size(); ++element) {
    if (blocks_[element] == element && missing[element] == 0) block_order_.push_back(element);
  }
  for (std::size_t i = 0; i < block_order_.size(); ++i) {
    for (std::uint32_t element = block_order_[i]; element != none; element = next_[element]) {
      const std::uint32_t next = neighbour(element, false);
      if (next == none) continue;
      const std::uint32_t block = blocks_[next];
      block_places_[block] =
          std::max(block_places_[block], place_of(element) + distance(element, next) - shifts_[next]);
      if (--missing[block] == 0) block_order_.push_back(block);
    }
  }
}

void block_alignment::move_to_neighbours() {
  for (auto block = block_order_.rbegin(); block != block_order_.rend(); ++block) move_block(*block);
  for (const std::uint32_t block : block_order_) move_block(block);
}

void block_alignment::move_block(std::uint32_t block) {
  constexpr std::int64_t no_limit = std::numeric_limits<std::int64_t>::max() / 4;
  std::int64_t least = -no_limit;
  std::int64_t greatest = no_limit;
  ways_.clear();
  for (std::uint32_t element = block; element != none; element = next_[element]) {
    const std::uint32_t before = neighbour(element, true);
    if (before != none) {
      least = std::max(least, place_of(before) + distance(before, element) - place_of(element));
    }
    const std::uint32_t behind = neighbour(element, false);
    if (behind != none) {
      greatest = std::min(greatest, place_of(behind) - distance(element, behind) - place_of(element));
    }
    for (const std::uint32_t number : input_.at_left.at(element)) {
      const layered_graph::line& line = input_.graph.lines[number];
      if (blocks_[line.left.element] != block) ways_.push_back(place_of(line.left) - place_of(line.right));
    }
    for (const std::uint32_t number : input_.at_right.at(element)) {
      const layered_graph::line& line = input_.graph.lines[number];
      if (blocks_[line.right.element] != block) ways_.push_back(place_of(line.right) - place_of(line.left));
    }
  }
  if (ways_.empty()) return;
  const auto middle = ways_.begin() + static_cast<std::ptrdiff_t>(ways_.size() / 2);
  std::ranges::nth_element(ways_, middle);
  std::int64_t way = *middle;
  if (ways_.size() % 2 == 0) way = (way + *std::max_element(ways_.begin(), middle)) / 2;
  block_places_[block] += std::clamp(way, least, greatest);
}

std::vector<std::int64_t> block_alignment::places() const {
  std::vector<std::int64_t> places(blocks_.size());
  for (std::uint32_t element = 0; element < blocks_.size(); ++element) {
    places[element] = is_turned_ ? -place_of(element) : place_of(element);
  }
  return places;
}

std::int64_t block_alignment::cost() const {
  constexpr std::int64_t cost_of_slant = 10;
  std::int64_t cost = 0;
  for (const layered_graph::line& line : input_.graph.lines) {
    const std::int64_t way = std::abs(place_of(line.right) - place_of(line.left));
    cost += way == 0 ? 0 : way + cost_of_slant;
  }
  return cost;
}
