#include "analysis/thread_lines.h"

#include <gtest/gtest.h>

#include <string>

#include "analysis/lines.h"

namespace {

/// The lines of a thread as "+node@time" and "-node@time".
std::string text_of(const execution_table& executions, int thread) {
  std::string text;
  for (thread_lines lines(executions, thread); lines.next();) {
    if (!text.empty()) text += ' ';
    text += (lines.is_begin() ? "+" : "-") + std::to_string(executions.node_of(lines.execution())) + '@' +
            std::to_string(lines.time());
  }
  return text;
}

TEST(thread_lines, are_those_of_the_timeline_at_equal_times_too) {
  const execution_table executions = executions_of(
      {begin(0, 5, 0), begin(0, 5, 1), begin(2, 5, 7), end(0, 5), begin(0, 5, 2), begin(0, 5, 3), outer(0, 5),
       begin(0, 5, 4), end(0, 6), end(0, 6), region(0, 6), end(0, 7), begin(0, 4, 5), end(0, 7), end(0, 7),
       end(2, 9), end(0, 8), begin(0, 8, 6), end(0, 8)});
  EXPECT_EQ(text_of(executions, 0), "+0@5 +1@5 -1@5 +2@5 +3@5 +4@5 -4@6 -3@7 +5@7 -5@7 -2@7 -0@8 +6@8 -6@8");
  EXPECT_EQ(text_of(executions, 1), "");
  EXPECT_EQ(text_of(executions, 2), "+7@5 -7@9");
}

TEST(thread_lines, know_the_order_of_begins_where_it_is_kept) {
  execution_table executions;
  executions.keep_begin_order();
  executions.begin(0, 1, 0, execution_kind::work);
  executions.begin_outer(1, 1);
  executions.begin(1, 1, 1, execution_kind::work);
  executions.begin(0, 1, 2, execution_kind::work);
  EXPECT_EQ(executions.line_count(0), 2U);
  executions.end(1, 2);
  executions.end(1, 2);
  executions.end(0, 2);
  executions.end(0, 2);
  executions.close();
  EXPECT_EQ(executions.begin_number_of(0), 1U);
  EXPECT_EQ(executions.begin_number_of(1), 2U);
  EXPECT_EQ(executions.begin_number_of(2), 0U);
  EXPECT_EQ(executions.line_count(1), 2U);
}

}  // namespace
