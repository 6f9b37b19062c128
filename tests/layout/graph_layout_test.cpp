#include "layout/graph_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

namespace {

using links = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

constexpr int width = 100;
constexpr int height = 34;

/// Nodes of one size with an input (number 2n) and an output (2n + 1) each, and edges from output to input.
layout_graph graph_of(std::uint32_t node_count, const links& edges) {
  layout_graph graph;
  for (std::uint32_t node = 0; node < node_count; ++node) {
    graph.nodes.push_back({width + static_cast<int>(node % 3) * 80, height});
    graph.ports.push_back({node, true, height / 2});
    graph.ports.push_back({node, false, height / 2});
  }
  for (const auto& [source, target] : edges) graph.edges.push_back({2 * source + 1, 2 * target});
  return graph;
}

links chain(std::uint32_t length) {
  links edges;
  for (std::uint32_t node = 0; node + 1 < length; ++node) edges.emplace_back(node, node + 1);
  return edges;
}

/// From every node of the first ones to every one of the others.
links all_between(std::uint32_t first, std::uint32_t others) {
  links edges;
  for (std::uint32_t i = 0; i < first * others; ++i) edges.emplace_back(i / others, first + i % others);
  return edges;
}

links operator+(links edges, const links& more) {
  edges.insert(edges.end(), more.begin(), more.end());
  return edges;
}

struct shape {
  std::string name;
  std::uint32_t nodes;
  links edges;
  bool has_circles = false;
};

std::vector<shape> small_shapes() {
  links dense;
  for (std::uint32_t a = 0; a < 24; ++a) {
    for (std::uint32_t b = a + 1; b < 24; b += 1 + (a * 7 + b * 5) % 11) dense.emplace_back(a, b);
  }
  return {{"chain", 9, chain(9)},
          {"tree", 7, {{0, 1}, {0, 2}, {1, 3}, {1, 4}, {2, 5}, {2, 6}}},
          {"all to all", 12, all_between(5, 7)},
          {"past others", 8, chain(8) + links{{0, 7}, {1, 6}, {0, 4}}},
          {"dense", 24, dense},
          {"apart", 6, {{0, 1}, {4, 5}}},
          {"parallel", 2, {{0, 1}, {0, 1}, {0, 1}}},
          {"to itself", 3, {{0, 0}, {0, 1}, {1, 1}, {1, 2}}, true},
          {"circle", 6, chain(6) + links{{5, 0}}, true},
          {"back and forth", 8, chain(8) + links{{4, 1}, {3, 2}, {7, 0}, {5, 5}}, true}};
}

layout_point place_of_port(const layout_graph& graph, const graph_layout& drawing, std::uint32_t number) {
  const layout_graph::port& port = graph.ports[number];
  const layout_point& node = drawing.nodes[port.node];
  return {node.x + (port.is_input ? 0 : graph.nodes[port.node].width), node.y + port.y};
}

/// Whether a line runs through the inside of a node, told by steps along the line.
bool runs_through(const layout_point& a, const layout_point& b, const layout_point& corner, int node_width) {
  constexpr int steps = 200;
  for (int i = 0; i <= steps; ++i) {
    const std::int64_t x = a.x + (b.x - a.x) * i / steps;
    const std::int64_t y = a.y + (b.y - a.y) * i / steps;
    if (x > corner.x && x < corner.x + node_width && y > corner.y && y < corner.y + height) return true;
  }
  return false;
}

TEST(graph_layout, keeps_nodes_apart_and_edges_off_nodes) {
  for (const shape& shape : small_shapes()) {
    SCOPED_TRACE(shape.name);
    const layout_graph graph = graph_of(shape.nodes, shape.edges);
    const graph_layout drawing = lay_out(graph);
    for (std::uint32_t a = 0; a < shape.nodes; ++a) {
      const layout_point& one = drawing.nodes[a];
      EXPECT_TRUE(one.x >= 0 && one.x + graph.nodes[a].width <= drawing.width);
      EXPECT_TRUE(one.y >= 0 && one.y + height <= drawing.height);
      for (std::uint32_t b = 0; b < a; ++b) {
        const layout_point& other = drawing.nodes[b];
        const bool is_apart = one.x >= other.x + graph.nodes[b].width ||
                              other.x >= one.x + graph.nodes[a].width || one.y >= other.y + height ||
                              other.y >= one.y + height;
        EXPECT_TRUE(is_apart) << a << " and " << b;
      }
    }
    for (std::uint32_t edge = 0; edge < shape.edges.size(); ++edge) {
      const auto [source, target] = shape.edges[edge];
      layout_point before = place_of_port(graph, drawing, graph.edges[edge].source);
      std::vector<layout_point> points(drawing.points_of(edge).begin(), drawing.points_of(edge).end());
      points.push_back(place_of_port(graph, drawing, graph.edges[edge].target));
      EXPECT_TRUE(shape.has_circles || before.x < points.back().x) << source << " to " << target;
      for (const layout_point& point : points) {
        for (std::uint32_t node = 0; node < shape.nodes; ++node) {
          EXPECT_FALSE(runs_through(before, point, drawing.nodes[node], graph.nodes[node].width))
              << source << " to " << target << " through " << node;
        }
        before = point;
      }
    }
    const graph_layout again = lay_out(graph);
    EXPECT_TRUE(again.nodes == drawing.nodes && again.points == drawing.points);
  }
}

TEST(graph_layout, keeps_edges_short_and_straight) {
  // Node 6 feeds the last but one only; the edge past all others needs to go round them once.
  const layout_graph graph = graph_of(7, chain(6) + links{{6, 5}, {0, 5}});
  const graph_layout drawing = lay_out(graph);
  const auto middle = [&](std::size_t node) { return drawing.nodes[node].x + graph.nodes[node].width / 2; };
  EXPECT_EQ(middle(6), middle(4));
  EXPECT_LE(drawing.points_of(6).size(), 2u);
  for (std::size_t edge = 0; edge < 3; ++edge) EXPECT_EQ(drawing.points_of(edge).size(), 0u);
  EXPECT_EQ(drawing.nodes[0].y, drawing.nodes[3].y);
}

TEST(graph_layout, puts_nodes_in_the_order_of_the_ports_they_hang_on) {
  layout_graph graph = graph_of(5, {});
  for (int port = 0; port < 4; ++port) graph.ports.push_back({0, false, 4 + 8 * port});
  // Outputs from the top lead to the nodes 3, 1, 4, 2.
  for (const std::uint32_t target : {3u, 1u, 4u, 2u}) {
    graph.edges.push_back({10 + static_cast<std::uint32_t>(graph.edges.size()), 2 * target});
  }
  const graph_layout drawing = lay_out(graph);
  EXPECT_LT(drawing.nodes[3].y, drawing.nodes[1].y);
  EXPECT_LT(drawing.nodes[1].y, drawing.nodes[4].y);
  EXPECT_LT(drawing.nodes[4].y, drawing.nodes[2].y);
}

TEST(graph_layout, takes_edges_between_ports_of_one_kind) {
  layout_graph graph = graph_of(2, {});
  graph.edges = {{0, 2}, {1, 3}, {2, 0}, {0, 0}, {3, 3}};
  const graph_layout drawing = lay_out(graph);
  ASSERT_EQ(drawing.first_point.size(), 6u);
  // Inputs are left at to the left, outputs to the right.
  EXPECT_LT(drawing.points_of(0).front().x, drawing.nodes[0].x);
  EXPECT_GT(drawing.points_of(1).front().x, drawing.nodes[0].x + width);
}

TEST(graph_layout, draws_large_and_hostile_shapes) {
  constexpr std::uint32_t size = 100'000;
  links star, circle = chain(size), pairs, past_all, to_itself, back;
  for (std::uint32_t i = 1; i < size; ++i) star.emplace_back(0, i);
  circle.emplace_back(size - 1, 0);
  for (std::uint32_t i = 0; i < size; i += 2) pairs.emplace_back(i, i + 1);
  for (std::uint32_t i = 0; i < size / 2; ++i) past_all.emplace_back(0, i);
  for (std::uint32_t i = 0; i < size; ++i) to_itself.emplace_back(i, i);
  for (std::uint32_t i = 0; i < size; i += 100) back.emplace_back(size - 1, i);
  const std::vector<shape> shapes = {{"no node", 0, {}},
                                     {"no edge", size, {}},
                                     {"chain", size, chain(size)},
                                     {"star", size, star},
                                     {"circle", size, circle},
                                     {"pairs", size, pairs},
                                     {"to themselves", size, to_itself},
                                     {"past all others", size, chain(size) + past_all},
                                     {"back to all others", size, chain(size) + back},
                                     {"all to all", 600, all_between(300, 300)},
                                     {"parallel", 2, links(size, {0, 1})}};
  for (const shape& shape : shapes) {
    SCOPED_TRACE(shape.name);
    const graph_layout drawing = lay_out(graph_of(shape.nodes, shape.edges));
    EXPECT_EQ(drawing.nodes.size(), shape.nodes);
    ASSERT_EQ(drawing.first_point.size(), shape.edges.size() + 1);
    EXPECT_LE(drawing.points.size(), 6 * (shape.nodes + shape.edges.size()));
  }
}

}  // namespace
