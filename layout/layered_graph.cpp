#include "layout/layered_graph.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace {

class edge_splitter {
 public:
  edge_splitter(const layout_graph& graph, std::span<const std::int32_t> layers)
      : graph_(graph), layers_(layers) {}

  layered_graph split() {
    add_nodes();
    choose_routes();
    for (std::uint32_t edge = 0; edge < graph_.edges.size(); ++edge) add_lines(edge);
    fill_layers();
    return std::move(split_);
  }

 private:
  /// The layers of an edge's first and last bend.
  struct span_of_bends {
    std::int32_t first = 0;
    std::int32_t last = 0;
    bool is_direct = false;

    [[nodiscard]] std::uint32_t bends() const {
      return is_direct ? 0 : static_cast<std::uint32_t>(std::abs(last - first)) + 1;
    }
  };

  /// An edge leaves its port to the layer beside it. From there to the one beside its other port it passes
  /// layers in either direction, so it turns round where the port looks the other way.
  [[nodiscard]] span_of_bends find_bends(const layout_graph::edge& edge) const {
    const auto& source = graph_.ports[edge.source];
    const auto& target = graph_.ports[edge.target];
    const std::int32_t first = layers_[source.node] + (source.is_input ? -1 : 1);
    const std::int32_t last = layers_[target.node] + (target.is_input ? -1 : 1);
    return {first, last, !source.is_input && target.is_input && first == last + 1};
  }

  void add_nodes() {
    split_.node_count = static_cast<std::uint32_t>(graph_.nodes.size());
    for (std::size_t i = 0; i < graph_.nodes.size(); ++i) {
      const auto& [width, height] = graph_.nodes[i];
      split_.elements.push_back({static_cast<std::uint32_t>(layers_[i]), width, height, 0, 0});
    }
    for (const layout_graph::port& port : graph_.ports) {
      layered_graph::element& node = split_.elements[port.node];
      slots_.push_back(port.is_input ? node.left_slots++ : node.right_slots++);
    }
  }

  /// The shortest edges have bends, as many as there is room for; the longest run apart.
  void choose_routes() {
    const std::size_t most_bends = 20'000 + 3 * (graph_.nodes.size() + graph_.edges.size());
    split_.routes.resize(graph_.edges.size());
    std::vector<std::uint32_t> order(graph_.edges.size());
    std::iota(order.begin(), order.end(), 0);
    const auto bends_of = [this](std::uint32_t edge) { return find_bends(graph_.edges[edge]).bends(); };
    std::ranges::stable_sort(order, {}, bends_of);
    std::size_t bends = 0;
    for (const std::uint32_t edge : order) {
      bends += bends_of(edge);
      split_.routes[edge].is_apart = bends > most_bends;
    }
  }

  [[nodiscard]] layered_graph::line_end end_at(std::uint32_t port) const {
    return {graph_.ports[port].node, slots_[port], graph_.ports[port].y};
  }

  void add_lines(std::uint32_t edge) {
    layered_graph::route& route = split_.routes[edge];
    if (route.is_apart) return;
    const auto& [source, target] = graph_.edges[edge];
    const span_of_bends span = find_bends(graph_.edges[edge]);
    route.first_bend = static_cast<std::uint32_t>(split_.elements.size());
    route.bends = span.bends();
    const std::int32_t step = span.last >= span.first ? 1 : -1;
    layered_graph::line_end before = end_at(source);
    std::int32_t layer_before = layers_[before.element];
    const auto go_to = [&](const layered_graph::line_end& next, std::int32_t layer) {
      split_.lines.push_back(layer > layer_before ? layered_graph::line{before, next}
                                                  : layered_graph::line{next, before});
      before = next;
      layer_before = layer;
    };
    for (std::uint32_t i = 0; i < route.bends; ++i) {
      const std::int32_t layer = span.first + step * static_cast<std::int32_t>(i);
      // One layer may be left of the first one: it is corrected when the layers are filled.
      split_.elements.push_back({static_cast<std::uint32_t>(layer)});
      go_to({route.first_bend + i}, layer);
    }
    go_to(end_at(target), layers_[graph_.ports[target].node]);
  }

  void fill_layers() {
    std::int32_t least = 0;
    std::int32_t greatest = 0;
    for (const layered_graph::element& element : split_.elements) {
      least = std::min(least, static_cast<std::int32_t>(element.layer));
      greatest = std::max(greatest, static_cast<std::int32_t>(element.layer));
    }
    split_.layers.resize(static_cast<std::size_t>(greatest - least) + 1);
    for (std::uint32_t i = 0; i < split_.elements.size(); ++i) {
      split_.elements[i].layer -= static_cast<std::uint32_t>(least);
      split_.layers[split_.elements[i].layer].push_back(i);
    }
  }

  const layout_graph& graph_;
  std::span<const std::int32_t> layers_;
  layered_graph split_;
  std::vector<std::uint32_t> slots_;  ///< by port
};

}  // namespace

layered_graph split_edges(const layout_graph& graph, std::span<const std::int32_t> layers) {
  return edge_splitter(graph, layers).split();
}

lines_by_element::lines_by_element(const layered_graph& graph,
                                   layered_graph::line_end layered_graph::line::*end)
    : first_(graph.elements.size() + 1), lines_(graph.lines.size()) {
  for (const layered_graph::line& line : graph.lines) ++first_[(line.*end).element + 1];
  for (std::size_t i = 1; i < first_.size(); ++i) first_[i] += first_[i - 1];
  std::vector<std::uint32_t> next(first_.begin(), first_.end() - 1);
  for (std::uint32_t i = 0; i < graph.lines.size(); ++i) {
    lines_[next[(graph.lines[i].*end).element]++] = i;
  }
}
