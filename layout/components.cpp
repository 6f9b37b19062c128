#include "layout/components.h"

#include <numeric>
#include <utility>

namespace {

/// Sets of nodes, each found by one of them.
class node_sets {
 public:
  explicit node_sets(std::size_t node_count) : above_(node_count) {
    std::iota(above_.begin(), above_.end(), 0);
  }

  std::uint32_t find(std::uint32_t node) {
    // Every other node on the way is put nearer to its end.
    while (above_[node] != node) node = above_[node] = above_[above_[node]];
    return node;
  }
  void join(std::uint32_t a, std::uint32_t b) {
    a = find(a);
    b = find(b);
    // The least one stands for all, so that sets are found in the order of the nodes.
    if (a < b) std::swap(a, b);
    above_[a] = b;
  }

 private:
  std::vector<std::uint32_t> above_;
};

}  // namespace

std::vector<graph_component> split_into_components(const layout_graph& graph) {
  node_sets sets(graph.nodes.size());
  for (const auto& [source, target] : graph.edges) {
    sets.join(graph.ports[source].node, graph.ports[target].node);
  }
  std::vector<graph_component> components;
  std::vector<std::uint32_t> component_of(graph.nodes.size());
  std::vector<std::uint32_t> node_in_component(graph.nodes.size());
  for (std::uint32_t node = 0; node < graph.nodes.size(); ++node) {
    const std::uint32_t first = sets.find(node);
    if (first == node) {
      component_of[node] = static_cast<std::uint32_t>(components.size());
      components.emplace_back();
    }
    component_of[node] = component_of[first];
    graph_component& component = components[component_of[node]];
    node_in_component[node] = static_cast<std::uint32_t>(component.nodes.size());
    component.nodes.push_back(node);
    component.graph.nodes.push_back(graph.nodes[node]);
  }
  std::vector<std::uint32_t> port_in_component;
  port_in_component.reserve(graph.ports.size());
  for (const layout_graph::port& port : graph.ports) {
    std::vector<layout_graph::port>& ports = components[component_of[port.node]].graph.ports;
    port_in_component.push_back(static_cast<std::uint32_t>(ports.size()));
    ports.push_back({node_in_component[port.node], port.is_input, port.y});
  }
  for (std::uint32_t edge = 0; edge < graph.edges.size(); ++edge) {
    const auto& [source, target] = graph.edges[edge];
    graph_component& component = components[component_of[graph.ports[source].node]];
    component.edges.push_back(edge);
    component.graph.edges.push_back({port_in_component[source], port_in_component[target]});
  }
  return components;
}
