#include "kzr/export/graphml_export.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "common/text_buffer.h"
#include "kzr/export/escaped_text.h"
#include "kzr/export/exported_run.h"
#include "kzr/export/shown_edges.h"
#include "kzr/output/byte_sink.h"
#include "kzr/output/output_watch.h"
#include "model/gml_accessor.h"
#include "model/node_type.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"

namespace {

constexpr std::string_view head =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<graphml xmlns=\"http://graphml.graphdrawing.org/xmlns\">\n";

struct attribute {
  std::string_view name;  ///< also the id of its key
  std::string_view element;
  std::string_view type;
};

constexpr std::array attributes = {
    attribute{"label", "node", "string"},
    attribute{"parent", "node", "string"},
    attribute{"composite", "node", "boolean"},
    attribute{"kind", "node", "string"},
    attribute{"executions", "node", "long"},
    attribute{"total_ticks", "node", "long"},
    attribute{"self_ticks", "node", "long"},
    attribute{"p50_ticks", "node", "long"},
    attribute{"idle_share_ticks", "node", "double"},
    attribute{"code", "node", "string"},
    attribute{"source_port", "edge", "string"},
    attribute{"target_port", "edge", "string"},
};

class graphml_text {
 public:
  graphml_text(const exported_run& run, byte_sink& out) : report_(run.report), watch_(run.watch), out_(out) {}

  void write() {
    text_ += head;
    add_keys();
    text_ += "<graph id=\"run\" edgedefault=\"directed\">\n";
    for (std::uint32_t node = 0; node < report_.nodes.size(); ++node) {
      if (report_.nodes[node].shown != nullptr) add_node(node);
    }
    shown_edges(report_).for_each([this](const shown_edge& edge) { add_edge(edge); });
    text_ += "</graph>\n</graphml>\n";
    out_.write(text_);
    if (left_out_ > 0) watch_.warn(left_out_edges_warning(left_out_));
  }

 private:
  void add_keys() {
    for (const auto& [name, element, type] : attributes) {
      text_ += "<key id=\"";
      text_ += name;
      text_ += "\" for=\"";
      text_ += element;
      text_ += "\" attr.name=\"";
      text_ += name;
      text_ += "\" attr.type=\"";
      // Some readers end at a number that is too large for its type.
      text_ += has_wide_values(name) ? "double" : type;
      text_ += "\"/>\n";
    }
  }

  [[nodiscard]] bool has_wide_values(std::string_view attribute) const {
    return std::ranges::any_of(report_.figures.nodes, [attribute](const node_figures& node) {
      if (attribute == "total_ticks") return node.total_ticks > INT64_MAX;
      if (attribute == "self_ticks") return node.self_ticks > INT64_MAX;
      return attribute == "p50_ticks" && node.inclusive && node.inclusive->p50_ticks > INT64_MAX;
    });
  }

  void add_node(std::uint32_t number) {
    const node_symbol& node = *report_.nodes[number].shown;
    const node_figures& figures = report_.figures.nodes[number];
    text_ += "<node id=\"";
    append_xml(report_.nodes[number].id, text_);
    text_ += "\">";
    add_datum("label", report_.name_of(number));
    value_.clear();
    if (const node_symbol* const around = find_composite_around(node)) around->append_gml_id(value_);
    add_datum("parent", value_);
    add_datum("composite", report_.nodes[number].is_composite ? "true" : "false");
    add_datum("kind", node_type_of(*report_.recorded.model, node));
    add_datum("executions", std::to_string(figures.executions));
    add_datum("total_ticks", decimal_text(figures.total_ticks));
    add_datum("self_ticks", decimal_text(figures.self_ticks));
    if (figures.inclusive) add_datum("p50_ticks", std::to_string(figures.inclusive->p50_ticks));
    add_datum("idle_share_ticks", thousandths_text(figures.idle_share_thousandths));
    if (!node.code_location().empty()) {
      add_datum("code", report_.nodes[number].id + "::" + std::string(node.code_location()));
    }
    text_ += "</node>\n";
    hand_over();
  }

  void add_edge(const shown_edge& edge) {
    const auto& [source, target] = edge.inner;
    if (source == nullptr || target == nullptr) {
      ++left_out_;
      return;
    }
    text_ += "<edge id=\"";
    append_edge_id(edge.edge, text_);
    text_ += "\" source=\"";
    source->node().append_gml_id(text_);
    text_ += "\" target=\"";
    target->node().append_gml_id(text_);
    text_ += "\">";
    add_port("source_port", *source);
    add_port("target_port", *target);
    text_ += "</edge>\n";
    hand_over();
  }

  void add_port(std::string_view key, const port_symbol& port) {
    value_.clear();
    append_port_name(port, report_.recorded.model->handles(), value_);
    add_datum(key, value_);
  }

  void add_datum(std::string_view key, std::string_view value) {
    text_ += "<data key=\"";
    text_ += key;
    text_ += "\">";
    append_xml(value, text_);
    text_ += "</data>";
  }

  void hand_over() {
    out_.write(text_);
    text_.clear();
  }

  const run_report& report_;
  output_watch& watch_;
  byte_sink& out_;
  text_buffer text_;
  text_buffer value_;
  std::uint64_t left_out_ = 0;
};

}  // namespace

void write_graphml(const exported_run& run, byte_sink& out) { graphml_text(run, out).write(); }
