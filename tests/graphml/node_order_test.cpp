#include "graphml/node_order.h"

#include <gtest/gtest.h>

#include <string>

#include "model/kzr_data_manager.h"

namespace {

// Numbers of one to four digits, without the node that was moved away. Where it is now, its name is that of
// the old place.
TEST(node_order, is_that_of_the_texts_of_the_names_under_which_nodes_were_made) {
  constexpr std::uint64_t composite_kind = 5, node_kind = 6;
  kzr_data_manager model("run");
  model.add_string_handle(composite_kind, "composite_node");
  graph_symbol& graph = model.add_graph({1, 0, 0});
  model.add_node({10, 0, 0}, graph, composite_kind);
  auto& inner = *model.get_sym_as<graph_symbol>({10, 0, 0});
  for (std::uint64_t n = 1; n < 1'200; ++n)
    model.add_node({10 + n, 0, 0}, n == 900 ? inner : graph, node_kind);
  inner.take_node(*model.get_sym_as<node_symbol>({10 + 1'100, 0, 0}));

  const auto nodes = nodes_by_name(graph);
  ASSERT_EQ(nodes.size(), 1'198u);
  for (std::size_t i = 1; i < nodes.size(); ++i) {
    EXPECT_LT(std::to_string(nodes[i - 1]->number()), std::to_string(nodes[i]->number()));
  }
  const auto inner_nodes = nodes_by_name(inner);  // "g0::n0::n900" and "g0::n1100"
  ASSERT_EQ(inner_nodes.size(), 2u);
  EXPECT_EQ(inner_nodes[0]->number(), 900u);
  EXPECT_EQ(inner_nodes[1]->number(), 1'100u);
}

}  // namespace
