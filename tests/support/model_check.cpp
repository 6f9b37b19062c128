#include "support/model_check.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "common/text_buffer.h"
#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"

namespace {

/// The graph around `graph`, null at the top.
const graph_symbol* graph_around(const graph_symbol& graph) {
  const subgraph_node_symbol* const composite = graph.composite_node();
  return composite == nullptr ? nullptr : &composite->own_graph();
}

const graph_symbol& top_above(const node_symbol& node) {
  const graph_symbol* graph = &node.own_graph();
  while (const graph_symbol* const around = graph_around(*graph)) graph = around;
  return *graph;
}

bool is_in(const graph_symbol& graph, const node_symbol& node) {
  const graph_symbol* at = &node.own_graph();
  while (at != nullptr && at != &graph) at = graph_around(*at);
  return at != nullptr;
}

}  // namespace

void expect_sound_model(const kzr_data_manager& model) {
  std::set<const node_symbol*> nodes;
  std::set<std::string> ids;
  std::set<std::uint32_t> port_numbers;
  std::set<const edge_symbol*> listed;
  for (const graph_symbol* const graph : model.graphs()) {
    std::size_t depth = 0;
    for (const graph_symbol* at = graph; at != nullptr; at = graph_around(*at)) {
      ASSERT_LE(depth++, model.counts().composite_nodes) << "composite nodes hold each other";
    }
    for (const node_symbol* const node : graph->nodes()) {
      if (node == nullptr) continue;
      EXPECT_TRUE(nodes.insert(node).second) << "node " << node->number() << " stands in two places";
      EXPECT_EQ(&node->own_graph(), graph);
      text_buffer id;
      node->append_gml_id(id);
      EXPECT_TRUE(!node->visible() || ids.emplace(id.view()).second) << id.view();
      for (const bool is_input : {true, false}) {
        for (const port_symbol* const port : is_input ? node->input_ports() : node->output_ports()) {
          EXPECT_EQ(&port->node(), node);
          EXPECT_EQ(port->is_input(), is_input);
          EXPECT_TRUE(port_numbers.insert(port->number()).second) << "port " << port->number();
        }
      }
    }
    for (const edge_symbol* const edge : graph->edges()) {
      EXPECT_TRUE(listed.insert(edge).second && edge->is_live()) << "edge " << edge->number();
      EXPECT_EQ(&edge->graph(), graph);
      const node_symbol& first = edge->first().node();
      const node_symbol& second = edge->second().node();
      // An edge between graphs that are no parts of one stands in that of its source.
      if (&top_above(first) != &top_above(second)) continue;
      EXPECT_TRUE(is_in(*graph, first) && is_in(*graph, second)) << "edge " << edge->number();
    }
  }
  EXPECT_EQ(nodes.size(), model.counts().nodes);
  EXPECT_EQ(port_numbers.size(), model.counts().ports);
  for (std::uint32_t number = 0; number < model.edges().size(); ++number) {
    EXPECT_EQ(model.edges().get(number).is_live(), listed.contains(&model.edges().get(number))) << number;
  }
}
