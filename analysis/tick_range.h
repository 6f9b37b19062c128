#pragma once

#include <cstdint>
#include <vector>

class execution_table;

/// A range of times, both ends included. Executions that reach into it count with what is in it; some figures
/// count those alone that are wholly inside.
struct tick_range {
  std::uint64_t from = 0;
  std::uint64_t to = UINT64_MAX;

  [[nodiscard]] bool touches(std::uint64_t begin, std::uint64_t end) const {
    return begin <= to && end >= from;
  }
  [[nodiscard]] bool holds(std::uint64_t begin, std::uint64_t end) const {
    return begin >= from && end <= to;
  }
};

/// The part of `range` from the first begin to the last end of the executions that reach into it, cut to the
/// range.
struct active_span {
  bool is_empty = true;
  std::uint64_t first = 0;
  std::uint64_t last = 0;

  [[nodiscard]] std::uint64_t ticks() const { return last - first; }
};

[[nodiscard]] active_span find_active_span(const execution_table& executions, const tick_range& range);

/// By node, of `node_count`: whether something ran on it wholly inside `range`.
[[nodiscard]] std::vector<bool> find_nodes_that_ran(const execution_table& executions,
                                                    std::uint32_t node_count, const tick_range& range);
