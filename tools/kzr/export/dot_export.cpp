#include "kzr/export/dot_export.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "common/text_buffer.h"
#include "kzr/export/cluster_tree.h"
#include "kzr/export/escaped_text.h"
#include "kzr/export/exported_run.h"
#include "kzr/export/shown_edges.h"
#include "kzr/output/byte_sink.h"
#include "kzr/output/output_watch.h"
#include "model/gml_accessor.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"

namespace {

/// From no self time to that of the node with the most.
constexpr std::array<std::string_view, 8> colours = {"#ffffff", "#fff0e0", "#fee0c0", "#fdcc98",
                                                     "#fdb16a", "#fb9440", "#f0761c", "#dd5a06"};

// Without the newer ranking, Graphviz loses some edges between clusters, and some ways of laying out from
// left to right end it.
constexpr std::string_view head =
    "digraph run {\ncompound=true;\nnewrank=true;\nnode [shape=plain];\nlabel=<";

constexpr std::string_view table =
    "<TABLE BORDER=\"0\" CELLBORDER=\"1\" CELLSPACING=\"0\" CELLPADDING=\"3\" BGCOLOR=\"";
constexpr std::string_view table_of_ports =
    "<TR><TD CELLPADDING=\"0\"><TABLE BORDER=\"0\" CELLBORDER=\"1\" CELLSPACING=\"0\" CELLPADDING=\"2\"><TR>";

class dot_text {
 public:
  dot_text(const exported_run& run, byte_sink& out)
      : report_(run.report), watch_(run.watch), out_(out), tree_(run.report.nodes) {
    for (const node_figures& node : report_.figures.nodes) {
      self_ticks_ += node.self_ticks;
      most_self_ticks_ = std::max(most_self_ticks_, node.self_ticks);
    }
  }

  void write() {
    text_ += head;
    append_html_label(report_.name, text_);
    text_ += ">;\n";
    find_points();
    tree_.walk([this](std::uint32_t node) { add_node(node); },
               [this](std::uint32_t composite, bool is_empty) { begin_cluster(composite, is_empty); },
               [this](std::uint32_t) { text_ += "}\n"; });
    shown_edges(report_).for_each([this](const shown_edge& edge) { add_edge(edge.inner); });
    text_ += "}\n";
    out_.write(text_);
    if (left_out_ > 0) watch_.warn(left_out_edges_warning(left_out_));
  }

 private:
  [[nodiscard]] std::uint32_t node_of(const port_symbol& port) const {
    return report_.nodes.get(port.node());
  }

  /// Edges cannot end at a cluster, only at something in it.
  void find_points() {
    needs_point_.resize(report_.nodes.size());
    shown_edges(report_).for_each([this](const shown_edge& edge) {
      for (const port_symbol* const end : {edge.inner.source, edge.inner.target}) {
        if (end != nullptr) needs_point_[node_of(*end)] = true;
      }
    });
  }

  [[nodiscard]] std::string_view colour_of(std::uint32_t node) const {
    const tick_sum ticks = report_.figures.nodes[node].self_ticks;
    if (ticks == 0) return colours.front();
    const auto share = static_cast<double>(ticks) / static_cast<double>(most_self_ticks_);
    return colours[1 + static_cast<std::size_t>(share * (colours.size() - 2))];
  }

  void add_figures(std::uint32_t node) {
    const node_figures& figures = report_.figures.nodes[node];
    text_.append_number(figures.executions);
    text_ += figures.executions == 1 ? " execution" : " executions";
    if (figures.self_ticks == 0) return;
    const double share = static_cast<double>(figures.self_ticks) / static_cast<double>(self_ticks_);
    const auto tenths = static_cast<unsigned>(share * 1000 + 0.5);
    text_ += ", ";
    text_.append_number(tenths / 10);
    text_ += '.';
    text_.append_number(tenths % 10);
    text_ += " % of self time";
  }

  void add_node(std::uint32_t number) {
    text_ += '"';
    text_ += report_.nodes[number].id;
    text_ += "\" [label=<";
    text_ += table;
    text_ += colour_of(number);
    text_ += "\">";
    add_ports(report_.nodes[number].shown->input_ports());
    text_ += "<TR><TD><B>";
    append_html_label(report_.name_of(number), text_);
    text_ += "</B><BR/>";
    add_figures(number);
    text_ += "</TD></TR>";
    add_ports(report_.nodes[number].shown->output_ports());
    text_ += "</TABLE>>];\n";
    hand_over();
  }

  void add_ports(std::span<port_symbol* const> ports) {
    if (ports.empty()) return;
    text_ += table_of_ports;
    for (const port_symbol* const port : ports) {
      text_ += "<TD PORT=\"";
      add_port_id(*port);
      text_ += "\">";
      value_.clear();
      append_port_name(*port, report_.recorded.model->handles(), value_);
      append_html_label(value_, text_);
      text_ += "</TD>";
      hand_over();
    }
    text_ += "</TR></TABLE></TD></TR>";
  }

  /// Names of ports are neither unique nor without characters that mean something.
  void add_port_id(const port_symbol& port) {
    text_ += 'p';
    text_.append_number(port.number());
  }

  void begin_cluster(std::uint32_t composite, bool is_empty) {
    text_ += "subgraph ";
    add_cluster_id(composite);
    text_ += " {\nlabel=<<B>";
    append_html_label(report_.name_of(composite), text_);
    text_ += "</B><BR/>";
    add_figures(composite);
    text_ += ">;\nbgcolor=\"";
    text_ += colour_of(composite);
    text_ += "\";\n";
    if (is_empty || needs_point_[composite]) {
      add_point_id(composite);
      text_ += " [shape=point, style=invis];\n";
    }
    hand_over();
  }

  void add_cluster_id(std::uint32_t composite) {
    text_ += "\"cluster_";
    text_ += report_.nodes[composite].id;
    text_ += '"';
  }

  void add_point_id(std::uint32_t composite) {
    text_ += "\"point_";
    text_ += report_.nodes[composite].id;
    text_ += '"';
  }

  void add_edge(const edge_ends& ends) {
    if (ends.source == nullptr || ends.target == nullptr) {
      ++left_out_;
      return;
    }
    add_end(*ends.source);
    text_ += " -> ";
    add_end(*ends.target);
    add_clipping(node_of(*ends.source), node_of(*ends.target));
    text_ += ";\n";
    hand_over();
  }

  void add_end(const port_symbol& port) {
    const std::uint32_t node = node_of(port);
    if (report_.nodes[node].is_composite) return add_point_id(node);
    text_ += '"';
    text_ += report_.nodes[node].id;
    text_ += "\":";
    add_port_id(port);
  }

  /// Ends an edge at the border of a cluster whose point it leads to, but for one from inside, which Graphviz
  /// warns of.
  void add_clipping(std::uint32_t source, std::uint32_t target) {
    const auto is_clipped = [this](std::uint32_t node, std::uint32_t other) {
      return report_.nodes[node].is_composite && !tree_.holds(node, other);
    };
    const char* separator = " [";
    const auto add = [this, &separator](std::string_view name, std::uint32_t composite) {
      text_ += separator;
      text_ += name;
      add_cluster_id(composite);
      separator = ", ";
    };
    if (is_clipped(source, target)) add("ltail=", source);
    if (is_clipped(target, source)) add("lhead=", target);
    if (*separator == ',') text_ += ']';
  }

  void hand_over() {
    out_.write(text_);
    text_.clear();
  }

  const run_report& report_;
  output_watch& watch_;
  byte_sink& out_;
  cluster_tree tree_;
  std::vector<bool> needs_point_;  ///< by node
  tick_sum self_ticks_ = 0;        ///< of all nodes
  tick_sum most_self_ticks_ = 0;   ///< of a node
  text_buffer text_;
  text_buffer value_;
  std::uint64_t left_out_ = 0;
};

}  // namespace

void write_dot(const exported_run& run, byte_sink& out) { dot_text(run, out).write(); }
