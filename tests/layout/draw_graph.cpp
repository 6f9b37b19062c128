// Reads a graph from standard input, draws it, and writes where everything is: what the checker of crossings
// and people who try shapes of graphs look at. A line is one of
//
//   node WIDTH HEIGHT
//   port NODE in|out Y
//   edge PORT PORT
//
// with numbers from 0 in the order of the lines; the answer has a line for each node and each edge in that
// order:
//
//   size WIDTH HEIGHT
//   node X Y
//   edge COUNT X Y X Y ...

#include <chrono>
#include <iostream>
#include <string>

#include "layout/graph_layout.h"

namespace {

bool read_graph(std::istream& in, layout_graph& graph) {
  for (std::string word; in >> word;) {
    if (word == "node") {
      layout_graph::node& node = graph.nodes.emplace_back();
      in >> node.width >> node.height;
    } else if (word == "port") {
      layout_graph::port& port = graph.ports.emplace_back();
      std::string side;
      in >> port.node >> side >> port.y;
      port.is_input = side == "in";
      if (port.node >= graph.nodes.size()) return false;
    } else if (word == "edge") {
      layout_graph::edge& edge = graph.edges.emplace_back();
      in >> edge.source >> edge.target;
      if (edge.source >= graph.ports.size() || edge.target >= graph.ports.size()) return false;
    } else {
      return false;
    }
  }
  return in.eof();
}

void write_drawing(const graph_layout& drawing, std::ostream& out) {
  out << "size " << drawing.width << ' ' << drawing.height << '\n';
  for (const layout_point& node : drawing.nodes) out << "node " << node.x << ' ' << node.y << '\n';
  for (std::size_t edge = 0; edge + 1 < drawing.first_point.size(); ++edge) {
    out << "edge " << drawing.points_of(edge).size();
    for (const layout_point& point : drawing.points_of(edge)) out << ' ' << point.x << ' ' << point.y;
    out << '\n';
  }
}

}  // namespace

int main() {
  std::ios::sync_with_stdio(false);
  layout_graph graph;
  if (!read_graph(std::cin, graph)) {
    std::cerr << "draw_graph: not a graph\n";
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  const graph_layout drawing = lay_out(graph);
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  write_drawing(drawing, std::cout);
  std::cerr << "seconds " << elapsed.count() << '\n';
  return 0;
}
