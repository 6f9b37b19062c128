#include "layout/graph_layout.h"

#include <gtest/gtest.h>

TEST(graph_layout, draws_a_graph_without_nodes) { EXPECT_EQ(lay_out({}).width, 0); }
