#include "layout/crossing_reduction.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "layout/layer_order.h"
#include "layout/layered_graph.h"

namespace {

using layers = std::vector<std::vector<std::uint32_t>>;

/// Elements and ends of lines looked at for each one there is, and in all; the sweep that reaches it is the
/// last one.
constexpr std::size_t effort_for_each = 300;
constexpr std::size_t greatest_effort = 8'000'000;
constexpr std::size_t most_sweeps = 24;
/// So many sweeps without a gain, and the next are not likely to bring one.
constexpr int most_idle_sweeps = 6;

/// Elements in the order of a walk along the lines, deep first: a tree has no crossings then. It begins at
/// the elements of the layers from the left, or from the right.
layers order_of_walk(const layered_graph& graph, bool from_left) {
  const lines_by_element at_left(graph, &layered_graph::line::right);
  const lines_by_element at_right(graph, &layered_graph::line::left);
  layers walked(graph.layers.size());
  std::vector<bool> is_seen(graph.elements.size());
  std::vector<std::uint32_t> pending;
  const auto walk_from = [&](std::uint32_t start) {
    pending.push_back(start);
    while (!pending.empty()) {
      const std::uint32_t element = pending.back();
      pending.pop_back();
      if (is_seen[element]) continue;
      is_seen[element] = true;
      walked[graph.elements[element].layer].push_back(element);
      // The last one is taken up first.
      const auto lines = from_left ? at_right.at(element) : at_left.at(element);
      for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        const std::uint32_t next =
            from_left ? graph.lines[*line].right.element : graph.lines[*line].left.element;
        if (!is_seen[next]) pending.push_back(next);
      }
    }
  };
  for (std::size_t i = 0; i < graph.layers.size(); ++i) {
    const auto& layer = graph.layers[from_left ? i : graph.layers.size() - 1 - i];
    for (const std::uint32_t element : layer) {
      if (!is_seen[element]) walk_from(element);
    }
  }
  return walked;
}

/// Sweeps over the layers in turns from the left and from the right, and remembers the best order.
class sweeper {
 public:
  explicit sweeper(const layered_graph& graph) : order_(graph), best_(graph.layers) {}

  /// Until the effort spent from the begin reaches `most_effort`.
  void sweep_from(const layers& start, bool takes_median, std::size_t most_effort) {
    order_.set_layers(start);
    std::uint64_t best_of_start = keep_if_best();
    int idle_sweeps = 0;
    for (std::size_t i = 0; i < most_sweeps && least_crossings_ > 0 && idle_sweeps < most_idle_sweeps; ++i) {
      if (order_.effort() >= most_effort) break;
      sweep(i % 2 == 0, takes_median, i % 4 >= 2);
      const std::uint64_t crossings = keep_if_best();
      idle_sweeps = crossings < best_of_start ? 0 : idle_sweeps + 1;
      best_of_start = std::min(best_of_start, crossings);
    }
  }

  [[nodiscard]] layers take_best() { return std::move(best_); }

 private:
  void sweep(bool to_the_right, bool takes_median, bool turns_ties) {
    const std::size_t count = order_.layers().size();
    for (std::size_t i = 1; i < count; ++i) {
      order_.sort_layer(to_the_right ? i : count - 1 - i,
                        to_the_right ? layer_order::side::left : layer_order::side::right, takes_median,
                        turns_ties);
    }
    exchange();
  }

  void exchange() {
    constexpr int most_rounds = 4;
    bool is_better = true;
    for (int round = 0; round < most_rounds && is_better; ++round) {
      is_better = false;
      for (std::size_t i = 0; i < order_.layers().size(); ++i) is_better |= order_.exchange_neighbours(i);
    }
  }

  std::uint64_t keep_if_best() {
    const std::uint64_t crossings = order_.count_crossings();
    if (crossings < least_crossings_) {
      least_crossings_ = crossings;
      best_ = order_.layers();
    }
    return crossings;
  }

  layer_order order_;
  layers best_;
  std::uint64_t least_crossings_ = UINT64_MAX;
};

}  // namespace

void reduce_crossings(layered_graph& graph) {
  const std::size_t effort =
      std::min(greatest_effort, effort_for_each * (graph.elements.size() + graph.lines.size()));
  sweeper sweeps(graph);
  sweeps.sweep_from(order_of_walk(graph, true), true, effort / 2);
  sweeps.sweep_from(order_of_walk(graph, false), false, effort);
  graph.layers = sweeps.take_best();
}
