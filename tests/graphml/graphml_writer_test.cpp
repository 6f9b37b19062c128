#include "graphml/graphml_writer.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "model/kzr_data_manager.h"

namespace {

// A run without a flow graph has no key for the policy of a join.
TEST(graphml_writer, writes_policies_under_no_key_without_a_flow_graph) {
  kzr_data_manager model("run");
  model.add_string_handle(10, "join_node (tag_matching)");
  model.add_node({2, 0, 0}, model.add_graph({1, 0, 0}), 10);
  model.complete_inner_graphs();
  std::ostringstream document;
  graphml_writer(model).write(model.files().front(), document);
  const std::string text = document.str();
  EXPECT_EQ(text.substr(text.find("<graph ")),
            "<graph id=\"g0\">\n  <node  id=\"g0::n0\">\n    <data key=\"d0\">g0::n0</data>\n"
            "    <data key=\"d5\">pwl</data>\n    <data key=\"d4\">join_node</data>\n"
            "    <data key=\"\">tag_matching</data>\n  </node>\n</graph>\n</graphml>\n");
}

}  // namespace
