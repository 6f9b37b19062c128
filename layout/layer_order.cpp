#include "layout/layer_order.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace {

using sorted_ends = std::span<const std::uint32_t>;

/// How many crossings there are when the lines of `upper` start above those of `lower`, and when below.
std::pair<std::uint64_t, std::uint64_t> crossings_of(sorted_ends upper, sorted_ends lower) {
  // One of them may have a hundred thousand lines and most others one.
  const bool is_turned = upper.size() > lower.size();
  const sorted_ends few = is_turned ? lower : upper;
  const sorted_ends many = is_turned ? upper : lower;
  std::uint64_t below = 0;  // ends of `few` that are below one of `many`
  std::uint64_t above = 0;
  auto from = many.begin();
  for (const std::uint32_t end : few) {
    from = std::lower_bound(from, many.end(), end);
    below += static_cast<std::uint64_t>(from - many.begin());
    above += static_cast<std::uint64_t>(many.end() - std::upper_bound(from, many.end(), end));
  }
  return is_turned ? std::pair(above, below) : std::pair(below, above);
}

}  // namespace

layer_order::far_ends::far_ends(const layered_graph& graph, layered_graph::line_end layered_graph::line::*own,
                                layered_graph::line_end layered_graph::line::*far)
    : first_(graph.elements.size() + 1), ends_(graph.lines.size()) {
  for (const layered_graph::line& line : graph.lines) ++first_[(line.*own).element + 1];
  for (std::size_t i = 1; i < first_.size(); ++i) first_[i] += first_[i - 1];
  std::vector<std::uint32_t> next(first_.begin(), first_.end() - 1);
  for (const layered_graph::line& line : graph.lines) {
    ends_[next[(line.*own).element]++] = {(line.*far).element, (line.*far).slot, (line.*own).slot};
  }
}

layer_order::layer_order(const layered_graph& graph)
    : graph_(graph),
      at_left_(graph, &layered_graph::line::right, &layered_graph::line::left),
      at_right_(graph, &layered_graph::line::left, &layered_graph::line::right),
      first_left_end_(graph.elements.size()),
      first_right_end_(graph.elements.size()) {
  set_layers(graph.layers);
}

void layer_order::set_layers(const std::vector<std::vector<std::uint32_t>>& layers) {
  layers_ = layers;
  for (std::size_t layer = 0; layer < layers_.size(); ++layer) number_ends(layer);
}

void layer_order::number_ends(std::size_t layer) {
  std::uint32_t left = 0;
  std::uint32_t right = 0;
  for (const std::uint32_t element : layers_[layer]) {
    first_left_end_[element] = left;
    first_right_end_[element] = right;
    left += graph_.elements[element].left_slots;
    right += graph_.elements[element].right_slots;
  }
}

void layer_order::append_far_ends(std::uint32_t element, side facing) {
  const auto first = static_cast<std::ptrdiff_t>(ends_.size());
  if (facing == side::left) {
    for (const auto& [far, slot, own_slot] : at_left_.at(element))
      ends_.push_back(first_right_end_[far] + slot);
  } else {
    for (const auto& [far, slot, own_slot] : at_right_.at(element))
      ends_.push_back(first_left_end_[far] + slot);
  }
  effort_ += ends_.size() - static_cast<std::size_t>(first);
  std::sort(ends_.begin() + first, ends_.end());
}

void layer_order::sort_layer(std::size_t layer, side facing, bool takes_median, bool turns_ties) {
  std::vector<std::uint32_t>& elements = layers_[layer];
  places_.clear();
  for (const std::uint32_t element : elements) {
    ends_.clear();
    append_far_ends(element, facing);
    if (ends_.empty()) continue;
    const std::size_t middle = ends_.size() / 2;
    double wanted = 0;
    if (!takes_median) {
      wanted = std::accumulate(ends_.begin(), ends_.end(), 0.0) / static_cast<double>(ends_.size());
    } else if (ends_.size() % 2 == 1) {
      wanted = ends_[middle];
    } else {
      wanted = (ends_[middle - 1] + ends_[middle]) / 2.0;
    }
    places_.push_back({wanted, element});
  }
  if (turns_ties) std::ranges::reverse(places_);
  std::ranges::stable_sort(places_, {}, &place::wanted);
  auto next = places_.begin();
  for (std::uint32_t& element : elements) {
    const far_ends& lines = facing == side::left ? at_left_ : at_right_;
    if (!lines.at(element).empty()) element = next++->element;
  }
  number_ends(layer);
}

bool layer_order::exchange_neighbours(std::size_t layer) {
  constexpr int most_rounds = 8;
  std::vector<std::uint32_t>& elements = layers_[layer];
  // The ends of all lines, by element, those of its left side first. Only what is in this layer moves.
  ends_.clear();
  std::vector<std::uint32_t> firsts;
  std::vector<std::uint32_t> order(elements.size());
  std::iota(order.begin(), order.end(), 0);
  for (const std::uint32_t element : elements) {
    for (const side facing : {side::left, side::right}) {
      firsts.push_back(static_cast<std::uint32_t>(ends_.size()));
      append_far_ends(element, facing);
    }
  }
  firsts.push_back(static_cast<std::uint32_t>(ends_.size()));
  const auto ends_at = [this, &firsts](std::size_t index, std::size_t at_side) {
    const std::size_t first = firsts[2 * index + at_side];
    return sorted_ends(ends_.data() + first, firsts[2 * index + at_side + 1] - first);
  };
  bool has_changed = false;
  for (int round = 0; round < most_rounds; ++round) {
    bool is_better = false;
    effort_ += order.size();
    for (std::size_t i = 0; i + 1 < order.size(); ++i) {
      const auto left = crossings_of(ends_at(order[i], 0), ends_at(order[i + 1], 0));
      const auto right = crossings_of(ends_at(order[i], 1), ends_at(order[i + 1], 1));
      if (left.first + right.first <= left.second + right.second) continue;
      std::swap(order[i], order[i + 1]);
      is_better = true;
    }
    if (!is_better) break;
    has_changed = true;
  }
  if (!has_changed) return false;
  const std::vector<std::uint32_t> before = elements;
  for (std::size_t i = 0; i < order.size(); ++i) elements[i] = before[order[i]];
  number_ends(layer);
  return true;
}

std::uint64_t layer_order::count_crossings() {
  std::uint64_t crossings = 0;
  for (std::size_t layer = 0; layer + 1 < layers_.size(); ++layer) crossings += count_crossings_behind(layer);
  return crossings;
}

/// Between a layer and the next one.
std::uint64_t layer_order::count_crossings_behind(std::size_t layer) {
  pairs_.clear();
  for (const std::uint32_t element : layers_[layer]) {
    for (const auto& [far, slot, own_slot] : at_right_.at(element)) {
      pairs_.push_back(std::uint64_t{first_right_end_[element] + own_slot} << 32 |
                       (first_left_end_[far] + slot));
    }
  }
  std::ranges::sort(pairs_);
  effort_ += pairs_.size();
  std::uint32_t most_ends = 0;
  for (const std::uint32_t element : layers_[layer + 1]) most_ends += graph_.elements[element].left_slots;
  // A line crosses those before it that end further below; `counts_` is a tree of sums over the ends.
  counts_.assign(std::size_t{most_ends} + 1, 0);
  std::uint64_t crossings = 0;
  std::uint64_t before = 0;
  for (const std::uint64_t pair : pairs_) {
    const auto end = static_cast<std::uint32_t>(pair) + 1;
    std::uint64_t not_below = 0;
    for (std::uint32_t i = end; i > 0; i &= i - 1) not_below += counts_[i];
    crossings += before++ - not_below;
    for (std::uint32_t i = end; i < counts_.size(); i += i & (~i + 1)) ++counts_[i];
  }
  return crossings;
}
