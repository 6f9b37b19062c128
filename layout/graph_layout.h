#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// A graph as its drawing sees it: boxes with ports on their sides, and edges from port to port. Lengths are
/// in units of the caller, about one to a pixel.
struct layout_graph {
  struct node {
    int width = 0;
    int height = 0;
  };
  /// Inputs are on the left side of their node, outputs on the right one. Those of one side are listed from
  /// top to bottom.
  struct port {
    std::uint32_t node = 0;
    bool is_input = false;
    int y = 0;  ///< from the top of the node
  };
  struct edge {
    std::uint32_t source = 0;  ///< a port
    std::uint32_t target = 0;
  };

  std::vector<node> nodes;
  std::vector<port> ports;
  std::vector<edge> edges;
};

struct layout_point {
  std::int64_t x = 0;
  std::int64_t y = 0;
  bool operator==(const layout_point&) const = default;
};

/// Where everything is. The drawing begins at (0, 0), nothing has a negative place.
struct graph_layout {
  std::int64_t width = 0;
  std::int64_t height = 0;
  std::vector<layout_point> nodes;  ///< left upper corners
  /// Where edges bend between their ports: `points` from `first_point[edge]` to `first_point[edge + 1]`.
  std::vector<std::size_t> first_point = {0};
  std::vector<layout_point> points;

  [[nodiscard]] std::span<const layout_point> points_of(std::size_t edge) const {
    return {points.data() + first_point[edge], first_point[edge + 1] - first_point[edge]};
  }
};

/// Draws a graph in layers from left to right. The same graph gives the same drawing.
[[nodiscard]] graph_layout lay_out(const layout_graph& graph);
