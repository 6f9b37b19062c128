#include "layout/graph_layout.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "layout/acyclic_arcs.h"
#include "layout/box_packing.h"
#include "layout/components.h"
#include "layout/crossing_reduction.h"
#include "layout/edge_routes.h"
#include "layout/layered_graph.h"
#include "layout/node_layers.h"
#include "layout/vertical_places.h"

namespace {

/// Draws a graph all of whose nodes are connected.
graph_layout lay_out_connected(const layout_graph& graph) {
  const auto node_count = static_cast<std::uint32_t>(graph.nodes.size());
  layered_graph layered = split_edges(graph, find_node_layers(node_count, find_acyclic_arcs(graph)));
  reduce_crossings(layered);
  return route_edges(graph, layered, find_vertical_places(layered));
}

/// Puts the drawings of components beside each other, the highest first.
graph_layout join(const layout_graph& graph, const std::vector<graph_component>& components,
                  const std::vector<graph_layout>& drawings) {
  constexpr std::int64_t gap = 40;
  std::vector<std::uint32_t> order(components.size());
  std::iota(order.begin(), order.end(), 0);
  std::ranges::stable_sort(
      order, [&](std::uint32_t a, std::uint32_t b) { return drawings[a].height > drawings[b].height; });
  std::vector<layout_box> boxes;
  boxes.reserve(order.size());
  for (const std::uint32_t component : order) {
    boxes.push_back({drawings[component].width, drawings[component].height});
  }
  const box_packing packed = pack_boxes(boxes, gap, screen_row_width(boxes, gap));

  graph_layout joined;
  joined.width = packed.size.width;
  joined.height = packed.size.height;
  joined.nodes.resize(graph.nodes.size());
  std::vector<std::span<const layout_point>> points(graph.edges.size());
  std::vector<layout_point> corners(graph.edges.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    const graph_component& component = components[order[i]];
    const graph_layout& drawing = drawings[order[i]];
    const layout_point corner = packed.places[i];
    for (std::size_t node = 0; node < component.nodes.size(); ++node) {
      const layout_point& place = drawing.nodes[node];
      joined.nodes[component.nodes[node]] = {place.x + corner.x, place.y + corner.y};
    }
    for (std::size_t edge = 0; edge < component.edges.size(); ++edge) {
      points[component.edges[edge]] = drawing.points_of(edge);
      corners[component.edges[edge]] = corner;
    }
  }
  for (std::size_t edge = 0; edge < graph.edges.size(); ++edge) {
    for (const layout_point& point : points[edge]) {
      joined.points.push_back({point.x + corners[edge].x, point.y + corners[edge].y});
    }
    joined.first_point.push_back(joined.points.size());
  }
  return joined;
}

}  // namespace

graph_layout lay_out(const layout_graph& graph) {
  const std::vector<graph_component> components = split_into_components(graph);
  std::vector<graph_layout> drawings;
  drawings.reserve(components.size());
  for (const graph_component& component : components) drawings.push_back(lay_out_connected(component.graph));
  return join(graph, components, drawings);
}
