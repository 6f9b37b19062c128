#include "layout/graph_layout.h"

#include <algorithm>

namespace {

/// The layer of each node by the longest path that leads to it; nodes in circles have what is known by then.
std::vector<std::uint32_t> find_layers(const layout_graph& graph) {
  const auto node_count = static_cast<std::uint32_t>(graph.nodes.size());
  std::vector<std::uint32_t> layers(node_count);
  std::vector<std::uint32_t> missing(node_count);
  std::vector<std::vector<std::uint32_t>> targets(node_count);
  for (const auto& [source, target] : graph.edges) {
    targets[graph.ports[source].node].push_back(graph.ports[target].node);
    ++missing[graph.ports[target].node];
  }
  std::vector<std::uint32_t> ready;
  for (std::uint32_t node = 0; node < node_count; ++node) {
    if (missing[node] == 0) ready.push_back(node);
  }
  while (!ready.empty()) {
    const std::uint32_t node = ready.back();
    ready.pop_back();
    for (const std::uint32_t target : targets[node]) {
      layers[target] = std::max(layers[target], layers[node] + 1);
      if (--missing[target] == 0) ready.push_back(target);
    }
  }
  return layers;
}

}  // namespace

graph_layout lay_out(const layout_graph& graph) {
  constexpr std::int64_t layer_gap = 60;
  constexpr std::int64_t node_gap = 20;
  graph_layout drawing;
  const std::vector<std::uint32_t> layers = find_layers(graph);
  std::vector<std::int64_t> x(graph.nodes.size() + 1);
  for (std::size_t node = 0; node < graph.nodes.size(); ++node) {
    x[layers[node] + 1] = std::max<std::int64_t>(x[layers[node] + 1], graph.nodes[node].width + layer_gap);
  }
  for (std::size_t layer = 1; layer < x.size(); ++layer) x[layer] += x[layer - 1];
  std::vector<std::int64_t> y(graph.nodes.size() + 1);
  for (std::size_t node = 0; node < graph.nodes.size(); ++node) {
    const std::uint32_t layer = layers[node];
    drawing.nodes.push_back({x[layer], y[layer]});
    y[layer] += graph.nodes[node].height + node_gap;
    drawing.width = std::max(drawing.width, x[layer] + graph.nodes[node].width);
    drawing.height = std::max(drawing.height, y[layer] - node_gap);
  }
  drawing.first_point.assign(graph.edges.size() + 1, 0);
  return drawing;
}
