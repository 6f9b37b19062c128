#include "kzr/report/page_graph.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "analysis/inner_ends.h"
#include "common/text_buffer.h"
#include "kzr/common/utf8.h"
#include "kzr/report/run_report.h"
#include "layout/box_packing.h"
#include "layout/graph_layout.h"
#include "model/gml_accessor.h"
#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"

namespace {

constexpr std::uint32_t none = UINT32_MAX;

// Of a node's box, in units of the page.
constexpr int title_height = 16;
constexpr int port_line = 12;
constexpr int letter_width = 7;
constexpr int least_width = 64;
constexpr int greatest_width = 240;
constexpr int least_height = 34;
constexpr int greatest_height = 1200;
/// Around what an inner graph holds, and around each graph at the top.
constexpr std::int64_t graph_margin = 16;
constexpr std::int64_t graph_gap = 64;

/// -1 in place of no number.
std::int64_t number_or_minus_one(std::uint32_t number) { return number == none ? -1 : std::int64_t{number}; }

int label_width(std::string_view label) {
  // Bytes that continue a character of UTF-8 need no place of their own.
  const auto letters = std::ranges::count_if(label, [](char byte) { return (byte & 0xc0) != 0x80; });
  const auto most_letters = std::ptrdiff_t{greatest_width / letter_width};
  const int width = 2 * letter_width + letter_width * static_cast<int>(std::min(letters, most_letters));
  return std::clamp(width, least_width, greatest_width);
}

/// The box that shows an inner graph of that size, which is smaller in it but keeps its shape.
layout_box composite_box(const layout_box& inner) {
  constexpr double greatest_scale = 0.5;
  const double scale = std::min({greatest_scale, 400.0 / static_cast<double>(inner.width),
                                 (300.0 - title_height) / static_cast<double>(inner.height)});
  const auto scaled = [scale](std::int64_t length) {
    return static_cast<std::int64_t>(static_cast<double>(length) * scale);
  };
  return {std::max<std::int64_t>(120, scaled(inner.width)),
          std::max<std::int64_t>(60, title_height + scaled(inner.height))};
}

class page_graph {
 public:
  page_graph(const run_report& report, std::span<const std::uint32_t> listed)
      : report_(report), model_(*report.recorded.model), nodes_(listed.size()) {
    enter_nodes(listed);
    enter_graphs();
    enter_ports();
    enter_edges();
    lay_out_graphs();
    place_graphs();
  }

  [[nodiscard]] nlohmann::json json() const {
    return {
        {"graphs", graphs_json()}, {"nodes", nodes_json()}, {"ports", ports_json()}, {"edges", edges_json()}};
  }

 private:
  struct shown_graph {
    std::uint32_t parent = none;
    std::vector<std::uint32_t> nodes;
    std::uint32_t first_edge = 0;
    std::uint32_t last_edge = 0;  ///< one behind
    layout_point place;
    layout_box size;
  };
  struct shown_node {
    const node_symbol* symbol = nullptr;
    std::uint32_t graph = none;
    std::uint32_t inner = none;
    std::uint32_t first_port = 0;
    std::uint32_t in_graph = 0;  ///< position among the nodes of its graph
    int label_width = 0;
    layout_point place;
    layout_box size;
  };
  struct shown_port {
    const port_symbol* symbol;
    std::uint32_t node;
    int y = 0;
  };
  struct shown_edge {
    std::uint32_t graph;
    std::uint32_t source;
    std::uint32_t target;
    bool is_removed;
    std::vector<layout_point> points;
  };

  [[nodiscard]] std::uint32_t find_node(const node_symbol* symbol) const {
    return symbol == nullptr ? none : by_symbol_number_[symbol->number()];
  }

  void enter_nodes(std::span<const std::uint32_t> listed) {
    by_symbol_number_.assign(model_.counts().nodes, none);
    for (std::uint32_t i = 0; i < listed.size(); ++i) {
      nodes_[i].symbol = report_.nodes[listed[i]].shown;
      nodes_[i].label_width = label_width(report_.name_of(listed[i]));
      if (nodes_[i].symbol != nullptr) by_symbol_number_[nodes_[i].symbol->number()] = i;
    }
  }

  /// Documents come from the outside in, so a graph stands behind the one that it is nested in.
  void enter_graphs() {
    for (const graphml_file& document : model_.files()) {
      for (const graph_symbol* const symbol : document.graphs) enter_graph(*symbol);
    }
  }

  void enter_graph(const graph_symbol& symbol) {
    const auto number = static_cast<std::uint32_t>(graphs_.size());
    shown_graph& graph = graphs_.emplace_back();
    graph.parent = find_node(symbol.composite_node());
    if (graph.parent != none) nodes_[graph.parent].inner = number;
    for (const node_symbol* const node : symbol.nodes()) {
      const std::uint32_t found = find_node(node);
      if (found == none) continue;
      nodes_[found].graph = number;
      nodes_[found].in_graph = static_cast<std::uint32_t>(graph.nodes.size());
      graph.nodes.push_back(found);
    }
  }

  void enter_ports() {
    port_of_symbol_.assign(model_.counts().ports, none);
    for (std::uint32_t i = 0; i < nodes_.size(); ++i) {
      nodes_[i].first_port = static_cast<std::uint32_t>(ports_.size());
      if (nodes_[i].graph == none) continue;
      for (const auto& side : {nodes_[i].symbol->input_ports(), nodes_[i].symbol->output_ports()}) {
        for (const port_symbol* const port : side) {
          port_of_symbol_[port->number()] = static_cast<std::uint32_t>(ports_.size());
          ports_.push_back({port, i});
        }
      }
    }
  }

  void enter_edges() {
    for (std::uint32_t number = 0; number < model_.edges().size(); ++number) {
      const edge_symbol& edge = model_.edges().get(number);
      const auto [source, target] = ends_of(edge);
      const std::uint32_t from = port_of_symbol_[source->number()];
      const std::uint32_t to = port_of_symbol_[target->number()];
      if (from == none || to == none) continue;
      const std::uint32_t graph = nodes_[ports_[from].node].graph;
      if (graph != nodes_[ports_[to].node].graph) continue;
      edges_.push_back({graph, from, to, !edge.is_live(), {}});
    }
    std::ranges::sort(edges_, {}, [](const shown_edge& edge) {
      return std::tuple(edge.graph, edge.source, edge.target, edge.is_removed);
    });
    const auto same_ends = [](const shown_edge& a, const shown_edge& b) {
      return a.source == b.source && a.target == b.target;
    };
    edges_.erase(std::unique(edges_.begin(), edges_.end(), same_ends), edges_.end());
    for (std::uint32_t i = 0; i < edges_.size(); ++i) {
      shown_graph& graph = graphs_[edges_[i].graph];
      if (graph.last_edge == 0) graph.first_edge = i;
      graph.last_edge = i + 1;
    }
  }

  /// From the inside out: the box of a composite node depends on what is in it.
  void lay_out_graphs() {
    for (auto graph = graphs_.rbegin(); graph != graphs_.rend(); ++graph) lay_out_graph(*graph);
  }

  void lay_out_graph(shown_graph& graph) {
    layout_graph input;
    std::vector<std::uint32_t> first_ports;
    for (const std::uint32_t node : graph.nodes) {
      first_ports.push_back(static_cast<std::uint32_t>(input.ports.size()));
      add_node(node, input);
    }
    const auto port_in_graph = [&](std::uint32_t port) {
      const shown_node& node = nodes_[ports_[port].node];
      return first_ports[node.in_graph] + port - node.first_port;
    };
    for (std::uint32_t i = graph.first_edge; i < graph.last_edge; ++i) {
      input.edges.push_back({port_in_graph(edges_[i].source), port_in_graph(edges_[i].target)});
    }
    const graph_layout drawing = lay_out(input);
    const auto with_margin = [](const layout_point& point) {
      return layout_point{point.x + graph_margin, point.y + graph_margin};
    };
    graph.size = {drawing.width + 2 * graph_margin, drawing.height + 2 * graph_margin};
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
      nodes_[graph.nodes[i]].place = with_margin(drawing.nodes[i]);
    }
    for (std::uint32_t i = graph.first_edge; i < graph.last_edge; ++i) {
      for (const layout_point& point : drawing.points_of(i - graph.first_edge)) {
        edges_[i].points.push_back(with_margin(point));
      }
    }
  }

  /// Sizes a node by its label, ports and inner graph, and adds it.
  void add_node(std::uint32_t number, layout_graph& input) {
    shown_node& node = nodes_[number];
    const std::size_t inputs = node.symbol->input_ports().size();
    const std::size_t outputs = node.symbol->output_ports().size();
    constexpr int frame = least_height - port_line;
    constexpr std::size_t most_lines = (greatest_height - frame) / port_line;
    const int lines = static_cast<int>(std::min(std::max(inputs, outputs), most_lines));
    node.size = {node.label_width, std::max(least_height, frame + lines * port_line)};
    if (node.inner != none) {
      const layout_box box = composite_box(graphs_[node.inner].size);
      node.size = {std::max(node.size.width, box.width), std::max(node.size.height, box.height)};
    }
    const auto place_in_input = static_cast<std::uint32_t>(input.nodes.size());
    const int height = static_cast<int>(node.size.height);
    input.nodes.push_back({static_cast<int>(node.size.width), height});
    for (std::size_t i = 0; i < inputs + outputs; ++i) {
      shown_port& port = ports_[node.first_port + i];
      const bool is_input = i < inputs;
      const auto line = static_cast<std::int64_t>(is_input ? i : i - inputs);
      const auto count = static_cast<std::int64_t>(is_input ? inputs : outputs);
      // Ports share the side evenly, closer together where there are more than lines.
      port.y = title_height + static_cast<int>((height - title_height) * (2 * line + 1) / (2 * count));
      input.ports.push_back({place_in_input, is_input, port.y});
    }
  }

  /// Graphs that are in no other stand side by side, many of them in rows.
  void place_graphs() {
    constexpr std::size_t most_in_one_row = 8;
    std::vector<shown_graph*> tops;
    std::vector<layout_box> boxes;
    std::int64_t row_width = 0;
    for (shown_graph& graph : graphs_) {
      if (graph.parent != none) continue;
      tops.push_back(&graph);
      boxes.push_back(graph.size);
      if (tops.size() <= most_in_one_row) row_width += graph.size.width + graph_gap;
    }
    row_width = std::max(row_width, screen_row_width(boxes, graph_gap));
    const box_packing packed = pack_boxes(boxes, graph_gap, row_width);
    for (std::size_t i = 0; i < tops.size(); ++i) tops[i]->place = packed.places[i];
  }

  [[nodiscard]] nlohmann::json graphs_json() const {
    std::vector<std::int64_t> parent, x, y, width, height;
    for (const shown_graph& graph : graphs_) {
      parent.push_back(number_or_minus_one(graph.parent));
      x.push_back(graph.place.x);
      y.push_back(graph.place.y);
      width.push_back(graph.size.width);
      height.push_back(graph.size.height);
    }
    return {{"parent", parent}, {"x", x}, {"y", y}, {"width", width}, {"height", height}};
  }

  [[nodiscard]] nlohmann::json nodes_json() const {
    std::vector<std::int64_t> graph, x, y, width, height, inner;
    std::vector<std::string> kind;
    for (const shown_node& node : nodes_) {
      graph.push_back(number_or_minus_one(node.graph));
      x.push_back(node.place.x);
      y.push_back(node.place.y);
      width.push_back(node.size.width);
      height.push_back(node.size.height);
      inner.push_back(number_or_minus_one(node.inner));
      kind.push_back(node.symbol == nullptr ? "" : valid_utf8(model_.handles().text(node.symbol->handle())));
    }
    return {{"graph", graph},   {"x", x},         {"y", y},      {"width", width},
            {"height", height}, {"inner", inner}, {"kind", kind}};
  }

  [[nodiscard]] nlohmann::json ports_json() const {
    std::vector<std::int64_t> node, is_input, y, outer, inner;
    std::vector<std::string> name;
    text_buffer text;
    inner_ends ends;
    std::uint32_t last_outer = 0;
    for (std::uint32_t i = 0; i < ports_.size(); ++i) {
      const shown_port& port = ports_[i];
      text.clear();
      append_port_name(*port.symbol, model_.handles(), text);
      node.push_back(port.node);
      name.push_back(valid_utf8(text.view()));
      is_input.push_back(port.symbol->is_input() ? 1 : 0);
      y.push_back(port.y);
      const std::uint32_t stand_in = find_node(&ends.find(*port.symbol)->node());
      if (stand_in == none || stand_in == port.node) continue;
      outer.push_back(i - std::exchange(last_outer, i));
      inner.push_back(stand_in);
    }
    return {{"node", node}, {"name", name},   {"is_input", is_input},
            {"y", y},       {"outer", outer}, {"inner", inner}};
  }

  [[nodiscard]] nlohmann::json edges_json() const {
    std::vector<std::int64_t> graph, source, target, removed, points, x, y;
    for (const shown_edge& edge : edges_) {
      graph.push_back(edge.graph);
      source.push_back(edge.source);
      target.push_back(edge.target);
      removed.push_back(edge.is_removed ? 1 : 0);
      points.push_back(static_cast<std::int64_t>(edge.points.size()));
      layout_point before;
      for (const layout_point& point : edge.points) {
        x.push_back(point.x - before.x);
        y.push_back(point.y - before.y);
        before = point;
      }
    }
    return {{"graph", graph},
            {"source", source},
            {"target", target},
            {"removed", removed},
            {"points", points},
            {"x", x},
            {"y", y}};
  }

  const run_report& report_;
  const kzr_data_manager& model_;
  std::vector<shown_graph> graphs_;
  std::vector<shown_node> nodes_;  ///< in the order of the page
  std::vector<shown_port> ports_;
  std::vector<shown_edge> edges_;
  std::vector<std::uint32_t> by_symbol_number_;
  std::vector<std::uint32_t> port_of_symbol_;
};

}  // namespace

nlohmann::json make_page_graph(const run_report& report, std::span<const std::uint32_t> listed) {
  return page_graph(report, listed).json();
}
