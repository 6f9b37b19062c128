#include "analysis/begin_order.h"

#include <algorithm>

begin_order::begin_order(const execution_table& executions) : order_(executions.size()) {
  first_of_thread_.push_back(0);
  for (int thread = 0; thread < executions.thread_count(); ++thread) {
    const std::span<const std::uint32_t> by_end = executions.executions_of(thread);
    const std::size_t first = first_of_thread_.back();
    arrange(executions, by_end, {order_.data() + first, by_end.size()});
    first_of_thread_.push_back(first + by_end.size());
  }
  firsts_ = {};
  stack_ = {};
}

/// What began before an execution is what is around it and what ended before the first one inside it did.
void begin_order::arrange(const execution_table& executions, std::span<const std::uint32_t> by_end,
                          std::span<std::uint32_t> by_begin) {
  firsts_.resize(by_end.size());
  stack_.clear();
  for (std::uint32_t i = 0; i < by_end.size(); ++i) {
    firsts_[i] = i;
    while (!stack_.empty() && executions.parent_of(by_end[stack_.back()]) == by_end[i]) {
      firsts_[i] = firsts_[stack_.back()];
      stack_.pop_back();
    }
    if (executions.parent_of(by_end[i]) != execution_table::none) stack_.push_back(i);
  }
  stack_.clear();
  for (std::size_t i = by_end.size(); i-- > 0;) {
    const std::uint32_t execution = by_end[i];
    while (!stack_.empty() && stack_.back() != executions.parent_of(execution)) stack_.pop_back();
    by_begin[firsts_[i] + stack_.size()] = execution;
    stack_.push_back(execution);
  }
}

std::size_t begin_order::position_of(const execution_table& executions, std::uint32_t execution) const {
  const std::span<const std::uint32_t> all = of(executions.thread_of(execution));
  const auto comes_before = [&executions](std::uint32_t a, std::uint32_t b) {
    // With no end between two begins, the outer one ends later.
    if (executions.ended_before(a) == executions.ended_before(b)) return a > b;
    return executions.ended_before(a) < executions.ended_before(b);
  };
  return static_cast<std::size_t>(std::ranges::lower_bound(all, execution, comes_before) - all.begin());
}
