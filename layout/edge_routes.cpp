#include "layout/edge_routes.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

struct column {
  std::int64_t left = 0;
  std::int64_t right = 0;
};

class edge_router {
 public:
  edge_router(const layout_graph& graph, const layered_graph& layered, std::span<const std::int64_t> tops)
      : graph_(graph), layered_(layered), tops_(tops) {}

  graph_layout route() {
    place_columns();
    place_nodes();
    for (std::uint32_t edge = 0; edge < graph_.edges.size(); ++edge) {
      add_edge(edge);
      drawing_.first_point.push_back(drawing_.points.size());
    }
    make_room();
    return std::move(drawing_);
  }

 private:
  static constexpr std::int64_t lane_gap = 8;

  /// The steeper lines are between two layers, the farther these are apart.
  void place_columns() {
    constexpr std::int64_t least_gap = 40;
    constexpr std::int64_t greatest_gap = 200;
    constexpr std::int64_t way_for_one_more = 5;
    columns_.resize(layered_.layers.size());
    std::vector<std::int64_t> gaps(layered_.layers.size(), least_gap);
    for (const layered_graph::line& line : layered_.lines) {
      const std::int64_t way =
          std::abs(tops_[line.left.element] + line.left.y - tops_[line.right.element] - line.right.y);
      std::int64_t& gap = gaps[layered_.elements[line.left.element].layer];
      gap = std::clamp(way / way_for_one_more, gap, greatest_gap);
    }
    std::int64_t x = 0;
    for (std::size_t layer = 0; layer < columns_.size(); ++layer) {
      int width = 0;
      for (const std::uint32_t element : layered_.layers[layer]) {
        width = std::max(width, layered_.elements[element].width);
      }
      columns_[layer] = {x, x + width};
      x = columns_[layer].right + gaps[layer];
    }
  }

  void place_nodes() {
    for (std::uint32_t node = 0; node < layered_.node_count; ++node) {
      const column& column = column_of(node);
      const std::int64_t room = column.right - column.left - graph_.nodes[node].width;
      drawing_.nodes.push_back({column.left + room / 2, tops_[node]});
    }
  }

  [[nodiscard]] const column& column_of(std::uint32_t element) const {
    return columns_[layered_.elements[element].layer];
  }

  /// The point of a port at the side of its node, and the one at the same side of its column.
  [[nodiscard]] layout_point at_node(const layout_graph::port& port) const {
    const layout_point& node = drawing_.nodes[port.node];
    return {node.x + (port.is_input ? 0 : graph_.nodes[port.node].width), node.y + port.y};
  }
  [[nodiscard]] layout_point at_column(const layout_graph::port& port) const {
    const column& column = column_of(port.node);
    return {port.is_input ? column.left : column.right, drawing_.nodes[port.node].y + port.y};
  }

  void add_edge(std::uint32_t edge) {
    const layout_graph::port& source = graph_.ports[graph_.edges[edge].source];
    const layout_graph::port& target = graph_.ports[graph_.edges[edge].target];
    const layered_graph::route& route = layered_.routes[edge];
    points_.assign(1, at_node(source));
    add_point(at_column(source));
    if (route.is_apart) {
      add_points_apart(source, target);
    } else {
      std::uint32_t before = source.node;
      for (std::uint32_t i = 0; i < route.bends; ++i) {
        const std::uint32_t bend = route.first_bend + i;
        const std::uint32_t next = i + 1 < route.bends ? bend + 1 : target.node;
        const std::int64_t next_y = next == target.node ? at_column(target).y : tops_[next];
        add_bend(before, bend, next, next_y);
        before = bend;
      }
    }
    add_point(at_column(target));
    add_point(at_node(target));
    drawing_.points.insert(drawing_.points.end(), points_.begin() + 1, points_.end() - 1);
  }

  void add_bend(std::uint32_t before, std::uint32_t bend, std::uint32_t next, std::int64_t next_y) {
    const std::uint32_t layer = layered_.elements[bend].layer;
    const column& column = column_of(bend);
    const bool comes_from_left = layered_.elements[before].layer < layer;
    const bool goes_to_left = layered_.elements[next].layer < layer;
    if (comes_from_left == goes_to_left) {
      // It turns beside the layer that it comes from and goes back to, each such edge at a place of its own.
      const std::int64_t distance = 10 + 4 * static_cast<std::int64_t>(turns_++ % 6);
      const std::int64_t x =
          comes_from_left ? columns_[layer - 1].right + distance : columns_[layer + 1].left - distance;
      add_point({x, points_.back().y});
      add_point({x, next_y});
      return;
    }
    add_point({comes_from_left ? column.left : column.right, tops_[bend]});
    add_point({goes_to_left ? column.left : column.right, tops_[bend]});
  }

  /// Above all layers, in one of a few lanes that such edges share.
  void add_points_apart(const layout_graph::port& source, const layout_graph::port& target) {
    constexpr std::uint64_t most_lanes = 8;
    constexpr std::int64_t from_column = 12;
    const std::int64_t y = -lane_gap * static_cast<std::int64_t>(1 + edges_apart_++ % most_lanes);
    const std::int64_t from = at_column(source).x + (source.is_input ? -from_column : from_column);
    const std::int64_t to = at_column(target).x + (target.is_input ? -from_column : from_column);
    add_point({from, at_column(source).y});
    add_point({from, y});
    add_point({to, y});
    add_point({to, at_column(target).y});
  }

  /// Without the point before where all three are on one level and the line goes on in its direction.
  void add_point(const layout_point& point) {
    if (points_.back() == point) return;
    if (points_.size() > 1) {
      const layout_point& first = points_[points_.size() - 2];
      const layout_point& middle = points_.back();
      const bool is_level = first.y == middle.y && middle.y == point.y;
      if (is_level && (first.x < middle.x) == (middle.x < point.x)) points_.pop_back();
    }
    points_.push_back(point);
  }

  /// Moves everything to where the drawing begins at 0.
  void make_room() {
    layout_point least;
    layout_point greatest;
    const auto look_at = [&](const layout_point& point) {
      least = {std::min(least.x, point.x), std::min(least.y, point.y)};
      greatest = {std::max(greatest.x, point.x), std::max(greatest.y, point.y)};
    };
    for (std::size_t i = 0; i < drawing_.nodes.size(); ++i) {
      const layout_point& corner = drawing_.nodes[i];
      look_at(corner);
      look_at({corner.x + graph_.nodes[i].width, corner.y + graph_.nodes[i].height});
    }
    for (const layout_point& point : drawing_.points) look_at(point);
    for (std::vector<layout_point>* const points : {&drawing_.nodes, &drawing_.points}) {
      for (layout_point& point : *points) point = {point.x - least.x, point.y - least.y};
    }
    drawing_.width = greatest.x - least.x;
    drawing_.height = greatest.y - least.y;
  }

  const layout_graph& graph_;
  const layered_graph& layered_;
  std::span<const std::int64_t> tops_;
  std::vector<column> columns_;
  graph_layout drawing_;
  std::vector<layout_point> points_;  ///< of the edge at hand, its ports included
  std::uint64_t edges_apart_ = 0;
  std::uint64_t turns_ = 0;
};

}  // namespace

graph_layout route_edges(const layout_graph& graph, const layered_graph& layered,
                         std::span<const std::int64_t> tops) {
  return edge_router(graph, layered, tops).route();
}
