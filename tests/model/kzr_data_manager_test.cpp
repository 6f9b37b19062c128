#include "model/kzr_data_manager.h"

#include <gtest/gtest.h>

#include <string>

#include "common/text_buffer.h"
#include "model/gml_accessor.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"
#include "support/model_check.h"

namespace {

template <class Symbol>
std::string id_of(const Symbol& symbol) {
  text_buffer id;
  symbol.append_gml_id(id);
  return std::string(id.view());
}

/// A model that is completed and checked behind every test.
class data_manager_test : public testing::Test {
 protected:
  void TearDown() override {
    dm_.complete_inner_graphs();
    expect_sound_model(dm_);
  }

  graph_symbol& add_graph(std::uint64_t d1) { return dm_.add_graph({d1, 0, 0}); }
  node_symbol& add_node(graph_symbol& graph, std::uint64_t d1, std::uint64_t kind = 2) {
    return dm_.add_node({d1, 0, 0}, graph, kind);
  }
  port_symbol& add_port(node_symbol& node, bool is_input, std::uint64_t d1, int index = 0) {
    return is_input ? dm_.add_input_port({d1, 1, 0}, node, index)
                    : dm_.add_output_port({d1, 2, 0}, node, index);
  }
  std::string ends_of(const edge_symbol& edge) {
    text_buffer text;
    append_gml_accessors(edge, dm_.handles(), text);
    return std::string(text.view());
  }

  kzr_data_manager dm_{"run"};
};
using data_manager_death_test = data_manager_test;

TEST_F(data_manager_test, numbers_symbols_by_class_over_all_graphs) {
  graph_symbol& first = add_graph(1);
  graph_symbol& second = add_graph(2);
  node_symbol& a = add_node(first, 3);
  node_symbol& b = add_node(second, 4);
  EXPECT_EQ(id_of(second), "g1");
  EXPECT_EQ(id_of(a), "g0::n0");
  EXPECT_EQ(id_of(b), "g1::n1");
  second.set_gml_id(7);
  EXPECT_EQ(id_of(b), "omp7::n1");
  EXPECT_EQ(b.name_prefix(), "g1");  // as it was when the node was made
  EXPECT_EQ(dm_.get_sym_as<node_symbol>({3, 0, 0}), &a);
  EXPECT_EQ(dm_.get_sym_as<graph_symbol>({3, 0, 0}), nullptr);
  EXPECT_EQ(dm_.get_sym({3, 0, 1}), nullptr);
  node_symbol& newer = add_node(second, 3);  // takes the identifier over
  EXPECT_EQ(dm_.get_sym({3, 0, 0}), &newer);
  EXPECT_EQ(newer.number(), 2u);
}

TEST_F(data_manager_test, keeps_one_edge_between_two_ports_in_the_graph_of_the_source) {
  graph_symbol& first = add_graph(1);
  graph_symbol& second = add_graph(2);
  port_symbol& out = add_port(add_node(first, 3), false, 3);
  port_symbol& in = add_port(add_node(second, 4), true, 4);
  const edge_symbol& edge = dm_.add_edge(out, in);
  EXPECT_EQ(&edge.graph(), &first);
  const edge_symbol& again = dm_.add_edge(out, in);
  EXPECT_FALSE(edge.is_live());
  EXPECT_EQ(dm_.remove_edge(in, out), nullptr);
  EXPECT_EQ(dm_.remove_edge(out, in), &again);
  EXPECT_EQ(dm_.remove_edge(out, in), nullptr);
  EXPECT_FALSE(again.is_live());
  const edge_symbol& back = dm_.add_edge(in, out);
  EXPECT_EQ(&back.graph(), &second);
  EXPECT_EQ(back.number(), 2u);  // removed ones keep theirs
}

TEST_F(data_manager_test, takes_index_and_direction_of_a_port_from_its_text) {
  node_symbol& node = add_node(add_graph(1), 42);
  struct {
    const char* text;
    bool is_input;
    int index;
    std::string accessor;
  } const cases[] = {
      {"input_port", true, 68, "target=\"g0::n0\" targetoffset=\"68\" targetport=\"input_port\""},
      {"input_port3", true, 3, "target=\"g0::n0\" targetoffset=\"3\" targetport=\"input_port3\""},
      {"output_port12", false, 2, "source=\"g0::n0\" sourceoffset=\"2\" sourceport=\"output_port12\""},
      {"output_port-", false, -3, "source=\"g0::n0\" sourceoffset=\"-3\" sourceport=\"output_port-\""},
      {"", false, 0, "source=\"g0::n0\" sourceoffset=\"0\" sourceport=\"\""}};
  std::uint64_t handle = 100;
  for (const auto& [text, is_input, index, accessor] : cases) {
    SCOPED_TRACE(text);
    dm_.add_string_handle(++handle, text);
    port_symbol& port = dm_.add_port({handle, 1, 0}, node, handle);
    EXPECT_EQ(port.is_input(), is_input);
    EXPECT_EQ(port.offset(), index);
    EXPECT_EQ(ends_of(dm_.add_edge(port, port)), accessor + ' ' + accessor);
  }
  port_symbol& out = dm_.add_output_port({18446744073709551615u, 8, 9}, node, 6);
  EXPECT_EQ(ends_of(dm_.add_edge(out, dm_.add_input_port({7, 8, 9}, node, -5))),
            "source=\"g0::n0\" sourceoffset=\"6\" sourceport=\"18446744073709551615\" "
            "target=\"g0::n0\" targetoffset=\"-5\" targetport=\"7\"");
  EXPECT_EQ(node.input_ports().size(), 3u);
  EXPECT_EQ(node.output_ports().size(), 4u);
}

TEST_F(data_manager_test, finds_ports_by_the_first_word_of_their_identifiers) {
  graph_symbol& graph = add_graph(1);
  port_symbol& first = add_port(add_node(graph, 2), true, 9);
  EXPECT_EQ(graph.get_aliased_port(first), nullptr);
  EXPECT_EQ(graph.get_omp_aliased_port(first), &first);
  port_symbol& second = add_port(add_node(graph, 3), false, 9);
  port_symbol& third = add_port(add_node(graph, 4), true, 9);
  EXPECT_EQ(graph.get_aliased_port(first), &second);  // the last but one
  EXPECT_EQ(graph.get_omp_aliased_port(third), &first);
  EXPECT_EQ(graph.get_omp_aliased_port(add_port(add_node(add_graph(5), 6), true, 8)), nullptr);
}

TEST_F(data_manager_test, changes_kinds_of_nodes_that_exist) {
  const std::string failed = "Transforming basic node failed: Fallback creating new node!";
  graph_symbol& graph = add_graph(1);
  std::uint64_t failures = 0;
  std::uint64_t kind = 100;
  const auto warnings = [&] { return dm_.warnings().counts().at(failed); };
  for (const char* const word : {"async_node", "opencl_node", "queue_node", "priority_queue_node",
                                 "sequencer_node", "write_once_node"}) {
    SCOPED_TRACE(word);
    dm_.add_string_handle(++kind, word);
    EXPECT_EQ(dm_.add_node({kind, 1, 0}, graph, kind).handle(), kind);
    EXPECT_EQ(warnings(), ++failures);
    const node_symbol& older = add_node(graph, 2 * kind);
    const node_symbol& newer = dm_.add_node({2 * kind, 9, 9}, graph, 2);
    EXPECT_EQ(&dm_.add_node({2 * kind, 8, 8}, graph, kind), &newer);  // the one added last
    EXPECT_EQ(newer.handle(), kind);
    EXPECT_EQ(older.handle(), 2u);
    EXPECT_EQ(dm_.get_sym({2 * kind, 8, 8}), nullptr);
    // Nodes of other graphs do not count.
    EXPECT_NE(&dm_.add_node({2 * kind, 7, 7}, add_graph(kind), kind), &newer);
    EXPECT_EQ(warnings(), ++failures);
  }
  dm_.add_string_handle(99, "split_node");
  const node_symbol& split = dm_.add_node({77, 0, 0}, graph, 99);
  const node_symbol& plain = dm_.add_node({77, 1, 0}, graph, 2);
  EXPECT_NE(&split, &plain);
  EXPECT_EQ(&dm_.add_node({77, 2, 0}, graph, 99), &plain);
  EXPECT_EQ(plain.handle(), 99u);
  EXPECT_EQ(warnings(), failures);
  EXPECT_EQ(plain.number(), 6 * 4 + 1u);
}

TEST_F(data_manager_test, lets_a_hidden_node_answer_for_the_graph_above) {
  dm_.add_string_handle(5, "composite_node");
  graph_symbol& graph = add_graph(1);
  auto* const composite = symbol_cast<subgraph_node_symbol>(&add_node(graph, 2, 5));
  ASSERT_NE(composite, nullptr);
  EXPECT_EQ(dm_.get_sym_as<graph_symbol>({2, 0, 0}), &composite->inner_graph());
  node_symbol& inner = add_node(composite->inner_graph(), 3);
  node_symbol& top = add_node(graph, 4);
  EXPECT_EQ(id_of(inner), "g0::n0::n1");
  inner.set_visible(false);
  top.set_visible(false);
  EXPECT_EQ(id_of(inner), "g0::n0");
  EXPECT_EQ(&inner.graph_for_ports(), &graph);
  EXPECT_EQ(id_of(top), "g0");
  EXPECT_EQ(top.get_enclosing_graph(), nullptr);
  EXPECT_EQ(&top.graph_for_ports(), &graph);
}

TEST_F(data_manager_test, keeps_ports_and_metadata_of_many_nodes) {
  graph_symbol& graph = add_graph(1);
  for (std::uint64_t n = 0; n < 1'200; ++n) {
    node_symbol& node = add_node(graph, 10 + n);
    for (std::uint64_t key = 1; key <= n % 4; ++key) {
      for (const char* const text : {"old", "new"}) dm_.add_metadata(node, key, text);
      dm_.add_metadata(node, key + 1, "other");
      add_port(node, key == 2, 2'000 * key + n);
    }
  }
  for (const node_symbol* const node : graph.nodes()) {
    const std::uint64_t count = node->number() % 4;
    EXPECT_EQ(node->find_metadata(1), count == 0 ? "" : "new");
    EXPECT_EQ(node->find_metadata(count + 1), count == 0 ? "" : "other");
    EXPECT_EQ(node->find_metadata(9), "");
    ASSERT_EQ(node->output_ports().size() + node->input_ports().size(), count);
    if (count < 3) continue;
    EXPECT_EQ(node->output_ports()[1]->onx_id().d1, 6'000 + node->number());
  }
}

TEST(onx_id, is_ordered_word_by_word) {
  EXPECT_LT((___onx_id{1, 9, 9}), (___onx_id{2, 0, 0}));
  EXPECT_LT((___onx_id{1, 2, 9}), (___onx_id{1, 3, 0}));
  EXPECT_LT((___onx_id{1, 2, 3}), (___onx_id{1, 2, ~std::uint64_t{0}}));
}

TEST_F(data_manager_death_test, aborts_on_a_key_that_was_never_registered) {
  EXPECT_DEATH(static_cast<void>(dm_.keys().get_id("Input 10")), "^ERROR: Unknown key Input 10\n");
}

}  // namespace
