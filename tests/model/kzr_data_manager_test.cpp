#include "model/kzr_data_manager.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <sstream>

namespace {

constexpr unsigned long all_ones = 18446744073709551615u;

class data_manager_test : public testing::Test {
 protected:
  template <class Char>
  void add_domain(unsigned long handle, const Char* name) {
    const std::size_t size = std::char_traits<Char>::length(name) + 1;
    dm_.register_domain(handle,
                        static_cast<const Char*>(std::char_traits<Char>::copy(new Char[size], name, size)));
  }
  graph_symbol& add_graph(std::uint64_t d1) { return *dm_.add_graph({d1, 0, 0}, nullptr, 1); }
  node_symbol& add_node(graph_symbol& graph, std::uint64_t d1, unsigned long kind = 2) {
    return *dm_.add_node({d1, 0, 0}, graph, kind);
  }
  port_symbol& add_port(node_symbol& node, bool is_input, std::uint64_t d1) {
    return is_input ? *dm_.add_input_port({d1, 1, 0}, node, 0) : *dm_.add_output_port({d1, 2, 0}, node, 0);
  }

  kzr_data_manager dm_{"no such directory/run", "", ""};
};
using data_manager_death_test = data_manager_test;

// A run without a flow graph has no key for the policy of a join.
TEST_F(data_manager_test, writes_policies_under_no_key_without_a_flow_graph) {
  dm_.add_string_handle(10, 0, "join_node (tag_matching)");
  std::ostringstream text;
  add_node(add_graph(1), 2, 10).dump_as_graphml(dm_, text, "");
  EXPECT_EQ(text.str(),
            "<node  id=\"g0::n0\">\n  <data key=\"d0\">g0::n0</data>\n  <data key=\"d5\">pwl</data>\n"
            "  <data key=\"d4\">join_node</data>\n  <data key=\"\">tag_matching</data>\n</node>\n");
}

TEST_F(data_manager_test, tells_domains_by_their_whole_name) {
  const std::pair<const char*, int> cases[] = {
      {"pwl", 1}, {"pwl.flow", 2}, {"pwl.algorithm", 3}, {"openmp", 4}, {"pwl.flowx", 0},
      {"PWL", 0}, {"", 0},         {"pwl.", 0},          {"openm", 0},  {"openmp ", 0}};
  unsigned long handle = 10;
  for (const auto& [name, type] : cases) {
    SCOPED_TRACE(name);
    EXPECT_EQ(static_cast<int>(dm_.domain_type(++handle)), 0);
    add_domain(handle, name);
    EXPECT_EQ(static_cast<int>(dm_.domain_type(handle)), type);
    add_domain(7, "pwl");  // an entry is overwritten
    add_domain(7, std::wstring(name, name + std::strlen(name)).c_str());
    EXPECT_EQ(static_cast<int>(dm_.domain_type(7)), type);
  }
}

TEST_F(data_manager_test, numbers_symbols_by_class_over_all_graphs) {
  graph_symbol& first = add_graph(1);
  graph_symbol& second = add_graph(2);
  node_symbol& a = add_node(first, 3);
  node_symbol& b = add_node(second, 4);
  EXPECT_EQ(second.gml_id(), "g1");
  EXPECT_EQ(a.gml_id(), "g0::n0");
  EXPECT_EQ(b.gml_id(), "g1::n1");
  port_symbol& out = add_port(a, false, 3);
  port_symbol& in = add_port(b, true, 4);
  // An edge stands in the graph of its source, and a removed one keeps its number.
  EXPECT_EQ(dm_.add_edge(out, in)->gml_id(), "g0::e0");
  EXPECT_EQ(dm_.remove_edge(out, in)->gml_id(), "g0::e0");
  EXPECT_EQ(dm_.remove_edge(out, in), nullptr);
  EXPECT_EQ(dm_.add_edge(in, out)->gml_id(), "g1::e1");
  const auto region = dm_.add_parallel_region({5, 0, 0}, nullptr, 1);
  const auto task = dm_.add_implicit_task({6, 0, 0}, region.get(), 1);
  EXPECT_EQ(region->gml_id() + task->gml_id(), "p0i0");
  EXPECT_EQ(dm_.add_explicit_task({7, 0, 0}, *task)->gml_id(), "yo0");
  EXPECT_EQ(dm_.add_explicit_task({8, 0, 0}, *task)->gml_id(), "yo1");
  second.set_gml_id();
  add_graph(9);
  first.set_gml_id();  // the number of the graph made last, not its own
  EXPECT_EQ(a.gml_id(), "omp2::n0");
  EXPECT_EQ(b.gml_id(), "omp1::n1");
  EXPECT_EQ(dm_.get_sym_as<node_symbol>({3, 0, 0}).get(), &a);
  EXPECT_EQ(dm_.get_sym_as<graph_symbol>({3, 0, 0}), nullptr);
  EXPECT_EQ(dm_.get_sym({3, 0, 1}), nullptr);
}

TEST_F(data_manager_test, takes_index_and_direction_of_a_port_from_its_text) {
  node_symbol& node = add_node(add_graph(1), 42);
  struct {
    const char* text;
    bool added_as_input;
    bool is_input;
    int index;
    const char* accessor;
  } const cases[] = {
      {"input_port", true, true, 68, "target=\"g0::n0\" targetoffset=\"68\" targetport=\"input_port\""},
      {"input_port3", true, true, 3, "target=\"g0::n0\" targetoffset=\"3\" targetport=\"input_port3\""},
      {"output_port12", false, false, 2, "source=\"g0::n0\" sourceoffset=\"2\" sourceport=\"output_port12\""},
      {"input_port4", false, true, 4, "target=\"g0::n0\" targetoffset=\"4\" targetport=\"input_port4\""},
      {"output_port-", true, false, -3, "source=\"g0::n0\" sourceoffset=\"-3\" sourceport=\"output_port-\""},
      {"", false, false, 0, "source=\"g0::n0\" sourceoffset=\"0\" sourceport=\"\""}};
  unsigned long handle = 100;
  for (const auto& [text, added_as_input, is_input, index, accessor] : cases) {
    SCOPED_TRACE(text);
    dm_.add_string_handle(++handle, 0, text);
    const auto port = added_as_input ? dm_.add_input_port({handle, 1, 0}, node, handle)
                                     : dm_.add_output_port({handle, 1, 0}, node, handle);
    EXPECT_EQ(port->is_input(), is_input);
    EXPECT_EQ(port->offset(), index);
    EXPECT_EQ(port->get_gml_accessor(dm_), accessor);
  }
  EXPECT_EQ(dm_.add_input_port({7, 8, 9}, node, -5)->get_gml_accessor(dm_),
            "target=\"g0::n0\" targetoffset=\"-5\" targetport=\"7\"");
  EXPECT_EQ(dm_.add_output_port({all_ones, 8, 9}, node, 6)->get_gml_accessor(dm_),
            "source=\"g0::n0\" sourceoffset=\"6\" sourceport=\"18446744073709551615\"");
  EXPECT_EQ(node.input_ports().size(), 4u);
  EXPECT_EQ(node.output_ports().size(), 4u);
}

TEST_F(data_manager_test, makes_a_port_its_graphs_alias_by_its_identifier) {
  graph_symbol& graph = add_graph(1);
  node_symbol& node = add_node(graph, 42);
  dm_.add_input_port({42, 35, 0}, node, 1ul);
  dm_.add_input_port({43, 37, 0}, node, 1ul);
  dm_.add_input_port({42, 37, 0}, node, 1);  // by index
  dm_.add_output_port({42, 37, 1}, node, 1ul);
  dm_.add_output_port({42, 35, 2}, node, 1);
  EXPECT_EQ(graph.input_alias_port(), nullptr);
  EXPECT_EQ(graph.output_alias_port(), nullptr);
  const auto input = dm_.add_input_port({42, 37, 3}, node, 1ul);
  const auto output = dm_.add_output_port({42, 35, 4}, node, 1ul);
  EXPECT_EQ(graph.input_alias_port(), input.get());
  EXPECT_EQ(graph.output_alias_port(), output.get());
}

TEST_F(data_manager_test, changes_kinds_of_nodes_that_exist) {
  const std::string failed = "Transforming basic node failed: Fallback creating new node!";
  graph_symbol& graph = add_graph(1);
  std::uint64_t failures = 0;
  unsigned long kind = 100;
  for (const char* const word : {"async_node", "opencl_node", "queue_node", "priority_queue_node",
                                 "sequencer_node", "write_once_node"}) {
    SCOPED_TRACE(word);
    dm_.add_string_handle(++kind, 0, word);
    const auto fresh = dm_.add_node({kind, 1, 0}, graph, kind);
    EXPECT_EQ(fresh->handle(), kind);
    EXPECT_EQ(dm_.warnings().at(failed), ++failures);
    node_symbol& older = add_node(graph, 2 * kind);
    const auto newer = dm_.add_node({2 * kind, 9, 9}, graph, 2);
    EXPECT_EQ(dm_.add_node({2 * kind, 8, 8}, graph, kind), newer);  // the one added last
    EXPECT_EQ(newer->handle(), kind);
    EXPECT_EQ(older.handle(), 2u);
    EXPECT_EQ(dm_.find_sym({2 * kind, 8, 8}), nullptr);
    // Nodes of other graphs do not count.
    EXPECT_NE(dm_.add_node({2 * kind, 7, 7}, add_graph(kind), kind), newer);
    EXPECT_EQ(dm_.warnings().at(failed), ++failures);
  }
  dm_.add_string_handle(99, 0, "split_node");
  const auto split = dm_.add_node({77, 0, 0}, graph, 99);
  const auto plain = dm_.add_node({77, 1, 0}, graph, 2);
  EXPECT_NE(split, plain);
  EXPECT_EQ(dm_.add_node({77, 2, 0}, graph, 99), plain);
  EXPECT_EQ(plain->handle(), 99u);
  EXPECT_EQ(dm_.warnings().at(failed), failures);
  EXPECT_EQ(plain->number(), 6 * 4 + 1u);
}

TEST_F(data_manager_test, lets_a_hidden_node_answer_for_the_graph_above) {
  graph_symbol& graph = add_graph(1);
  node_symbol& node = add_node(graph, 2);
  const auto body = dm_.add_body({3, 0, 0}, node);
  EXPECT_EQ(node.body(), body.get());
  EXPECT_EQ(body->get_enclosing_graph().get(), &graph);
  EXPECT_EQ(body->get_parent_node().get(), &node);
  node.set_visible(false);
  EXPECT_EQ(node.gml_id(), "g0");
  EXPECT_EQ(body->get_enclosing_graph(), nullptr);
  EXPECT_EQ(graph.get_enclosing_graph(), nullptr);
  EXPECT_EQ(&node.graph_for_ports(), &graph);
}

TEST_F(data_manager_test, keeps_accesses_of_variables_and_counts_of_regions) {
  graph_symbol& graph = add_graph(1);
  const auto variable = dm_.add_variable({2, 0, 0}, graph, {3, 0, 0}, 'i');
  EXPECT_EQ(variable->get_bottom_of_stack(), ___onx_id{});
  variable->add_to_stack({4, 0, 0}, 'o');
  variable->add_to_stack({5, 0, 0}, 'x');
  variable->remove_from_stack();
  EXPECT_EQ(variable->get_bottom_of_stack(), (___onx_id{4, 0, 0}));
  EXPECT_EQ(variable->top_of_stack(), (std::pair{___onx_id{4, 0, 0}, 'o'}));
  EXPECT_EQ(variable->stack_size(), 2u);
  node_symbol& node = add_node(graph, 6);
  graph.decrement_region(node);
  EXPECT_EQ(graph.find_region_count(node), nullptr);
  graph.increment_region(node);
  graph.decrement_region(node);
  graph.decrement_region(node);
  EXPECT_EQ(*graph.find_region_count(node), all_ones);
}

TEST_F(data_manager_test, keeps_ports_metadata_and_names_of_many_nodes) {
  graph_symbol& graph = add_graph(1);
  constexpr std::uint64_t nodes = 1'200;  // their numbers have one to four digits
  for (std::uint64_t number = 0; number < nodes; ++number) {
    node_symbol& node = add_node(graph, 10 + number);
    for (std::uint64_t key = 1; key <= number % 4; ++key) {
      node.add_metadata(key, 0, "old");
      node.add_metadata(key + 1, 0, "other");
      node.add_metadata(key, 0, "new");
      add_port(node, key % 2 == 0, nodes * (1 + key) + number);
    }
    EXPECT_EQ(node.find_metadata(1), number % 4 == 0 ? "" : "new");
    EXPECT_EQ(node.find_metadata(number % 4 + 1), number % 4 == 0 ? "" : "other");
    EXPECT_EQ(node.find_metadata(9), "");
  }
  const std::vector<node_symbol*> sorted = graph.nodes_by_name();
  ASSERT_EQ(sorted.size(), nodes);
  for (std::size_t i = 1; i < sorted.size(); ++i) EXPECT_LT(sorted[i - 1]->name(), sorted[i]->name());
  for (const node_symbol* const node : sorted) {
    const std::uint64_t ports = node->number() % 4;
    ASSERT_EQ(node->output_ports().size() + node->input_ports().size(), ports);
    if (ports == 3) {
      EXPECT_EQ(node->output_ports()[1]->onx_id().d1, nodes * 4 + node->number());
    }
  }
}

TEST(onx_id, is_ordered_word_by_word) {
  EXPECT_LT((___onx_id{1, 9, 9}), (___onx_id{2, 0, 0}));
  EXPECT_LT((___onx_id{1, 2, 9}), (___onx_id{1, 3, 0}));
  EXPECT_LT((___onx_id{1, 2, 3}), (___onx_id{1, 2, all_ones}));
}

TEST_F(data_manager_death_test, aborts_where_a_class_lacks_an_operation) {
  node_symbol& node = add_node(add_graph(1), 2);
  const port_symbol& port = add_port(node, true, 3);
  const auto edge = dm_.add_edge(add_port(node, false, 4), add_port(node, true, 5));
  const auto body = dm_.add_body({6, 0, 0}, node);
  const kzr_symbol& key = *dm_.keys().all().at("decl");
  EXPECT_DEATH(static_cast<void>(node.get_parent_node()), "^graphml id undefined for this symbol type\n");
  EXPECT_DEATH(static_cast<void>(port.gml_id()), "^ERROR: A port does not have a graphml id\n");
  EXPECT_DEATH(static_cast<void>(edge->onx_id()), "^ERROR: An edge does not have an onx id\n");
  EXPECT_DEATH(static_cast<void>(body->handle()), "^string handle undefined for this symbol type\n");
  EXPECT_DEATH(body->dump_as_graphml(dm_, std::cout, ""), "^symbol cannot be written to graphml\n");
  EXPECT_DEATH(static_cast<void>(key.get_enclosing_graph()), "^No enclosing graph for keys\n");
  EXPECT_DEATH(static_cast<void>(dm_.get_key_id("Input 10")), "^ERROR: Unknown key Input 10\n");
}

}  // namespace
