#include "layout/line_shortening.h"

#include <algorithm>
#include <cstdlib>

#include "layout/layer_arc.h"
#include "layout/layered_graph.h"
#include "layout/network_simplex.h"

namespace {

class line_shortener {
 public:
  line_shortener(const layered_graph& graph, std::span<const std::uint32_t> blocks,
                 std::vector<std::int64_t>& tops)
      : graph_(graph), blocks_(blocks), tops_(tops) {}

  void shorten() {
    add_blocks();
    add_distances();
    for (const layered_graph::line& line : graph_.lines) add_line(line);
    const auto count = static_cast<std::uint32_t>(places_.size());
    const arcs_by_node leaving(count, arcs_, &layer_arc::from);
    const arcs_by_node arriving(count, arcs_, &layer_arc::to);
    network_simplex(arcs_, leaving, arriving, places_).run();
    std::vector<std::int64_t> shorter(tops_.size());
    for (std::uint32_t i = 0; i < tops_.size(); ++i) shorter[i] = places_[node_of(i)] + shift_of(i);
    // The effort may be spent on the way to there.
    if (length(shorter) < length(tops_)) tops_ = std::move(shorter);
  }

 private:
  [[nodiscard]] std::uint32_t node_of(std::uint32_t element) const { return nodes_[blocks_[element]]; }
  [[nodiscard]] std::int32_t shift_of(std::uint32_t element) const {
    return static_cast<std::int32_t>(tops_[element] - tops_[blocks_[element]]);
  }

  void add_blocks() {
    nodes_.resize(graph_.elements.size());
    for (std::uint32_t i = 0; i < nodes_.size(); ++i) {
      if (blocks_[i] == i) nodes_[i] = add_node(tops_[i]);
    }
  }

  std::uint32_t add_node(std::int64_t place) {
    places_.push_back(static_cast<std::int32_t>(place));
    return static_cast<std::uint32_t>(places_.size() - 1);
  }

  void add_distances() {
    for (const auto& layer : graph_.layers) {
      for (std::size_t i = 1; i < layer.size(); ++i) {
        const std::uint32_t upper = layer[i - 1];
        const std::uint32_t lower = layer[i];
        const std::int32_t distance = graph_.elements[upper].height + graph_.gap_between(upper, lower);
        arcs_.push_back({node_of(upper), node_of(lower), 0, distance + shift_of(upper) - shift_of(lower)});
      }
    }
  }

  /// A node of its own that is above both ends: the sum of its arcs is least when it is at the upper one, and
  /// then is how far the line runs up or down.
  void add_line(const layered_graph::line& line) {
    const auto& [left, right] = line;
    if (blocks_[left.element] == blocks_[right.element]) return;
    const std::int64_t above = std::min(tops_[left.element] + left.y, tops_[right.element] + right.y);
    const std::uint32_t node = add_node(above);
    for (const layered_graph::line_end& end : {left, right}) {
      arcs_.push_back({node, node_of(end.element), 1, -(shift_of(end.element) + end.y)});
    }
  }

  [[nodiscard]] std::int64_t length(std::span<const std::int64_t> tops) const {
    std::int64_t length = 0;
    for (const auto& [left, right] : graph_.lines) {
      length += std::abs(tops[left.element] + left.y - tops[right.element] - right.y);
    }
    return length;
  }

  const layered_graph& graph_;
  std::span<const std::uint32_t> blocks_;
  std::vector<std::int64_t>& tops_;
  std::vector<std::uint32_t> nodes_;  ///< by first element of a block
  std::vector<std::int32_t> places_;  ///< by node
  std::vector<layer_arc> arcs_;
};

}  // namespace

void shorten_lines(const layered_graph& graph, std::span<const std::uint32_t> blocks,
                   std::vector<std::int64_t>& tops) {
  constexpr std::size_t most_elements = 6000;
  if (graph.elements.size() <= most_elements) line_shortener(graph, blocks, tops).shorten();
}
