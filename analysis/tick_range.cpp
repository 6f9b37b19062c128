#include "analysis/tick_range.h"

#include <algorithm>

#include "analysis/execution_table.h"

active_span find_active_span(const execution_table& executions, const tick_range& range) {
  active_span span;
  for (std::uint32_t i = 0; i < executions.size(); ++i) {
    if (!range.touches(executions.begin_of(i), executions.end_of(i))) continue;
    const std::uint64_t begin = std::max(executions.begin_of(i), range.from);
    const std::uint64_t end = std::min(executions.end_of(i), range.to);
    span.first = span.is_empty ? begin : std::min(span.first, begin);
    span.last = span.is_empty ? end : std::max(span.last, end);
    span.is_empty = false;
  }
  return span;
}

std::vector<bool> find_nodes_that_ran(const execution_table& executions, std::uint32_t node_count,
                                      const tick_range& range) {
  std::vector<bool> ran(node_count);
  for (std::uint32_t i = 0; i < executions.size(); ++i) {
    if (range.holds(executions.begin_of(i), executions.end_of(i))) ran[executions.node_of(i)] = true;
  }
  return ran;
}
