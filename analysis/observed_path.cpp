#include "analysis/observed_path.h"

#include <algorithm>

#include "analysis/execution_table.h"
#include "analysis/node_links.h"

namespace {

constexpr std::uint32_t none = execution_table::none;

/// The executions of bodies that are wholly inside the range and have none nested in them, by their ends.
std::vector<std::uint32_t> find_leaves(const execution_table& executions, const tick_range& range) {
  std::vector<bool> holds_work(executions.size());
  std::vector<std::uint32_t> leaves;
  for (std::uint32_t i = 0; i < executions.size(); ++i) {
    const bool is_work = executions.kind_of(i) == execution_kind::work;
    // What is nested in an execution has a smaller number.
    const std::uint32_t parent = executions.parent_of(i);
    if (parent != none && (is_work || holds_work[i])) holds_work[parent] = true;
    const bool is_inside = range.holds(executions.begin_of(i), executions.end_of(i));
    if (is_work && !holds_work[i] && is_inside) leaves.push_back(i);
  }
  // Times that go back are rare: mostly the numbers are in this order.
  const auto end_of = [&executions](std::uint32_t i) { return executions.end_of(i); };
  if (!std::ranges::is_sorted(leaves, {}, end_of)) std::ranges::stable_sort(leaves, {}, end_of);
  return leaves;
}

/// By execution: the outermost one around it, itself when there is none.
std::vector<std::uint32_t> find_outermost(const execution_table& executions) {
  std::vector<std::uint32_t> outermost(executions.size());
  for (std::uint32_t i = executions.size(); i-- > 0;) {
    const std::uint32_t parent = executions.parent_of(i);
    outermost[i] = parent == none ? i : outermost[parent];
  }
  return outermost;
}

class path_finder {
 public:
  path_finder(const execution_table& executions, const node_links& links, const tick_range& range)
      : executions_(executions),
        order_(links, find_nodes_that_ran(executions, links.node_count(), range)),
        span_(find_active_span(executions, range)),
        leaves_(find_leaves(executions, range)),
        next_(leaves_.size()) {}

  observed_path find() {
    observed_path path;
    path.rest_ticks = span_.ticks();
    if (leaves_.empty()) return path;
    outermost_ = find_outermost(executions_);
    path.rest_ticks = span_.last - executions_.end_of(leaves_.back());
    std::uint32_t execution = leaves_[--next_];
    while (execution != none) {
      const std::uint32_t before = find_before(execution);
      const std::uint64_t gap_begin = before == none ? span_.first : executions_.end_of(before);
      const std::uint64_t gap_ticks = executions_.begin_of(execution) - gap_begin;
      path.steps.push_back({execution, kind_of_gap(execution, before, gap_begin), gap_ticks});
      execution = before;
    }
    std::ranges::reverse(path.steps);
    return path;
  }

 private:
  [[nodiscard]] bool is_linked(std::uint32_t before, std::uint32_t execution) {
    return order_.is_before(executions_.node_of(before), executions_.node_of(execution));
  }
  [[nodiscard]] bool is_on_same_thread(std::uint32_t before, std::uint32_t execution) const {
    return executions_.thread_of(before) == executions_.thread_of(execution);
  }
  [[nodiscard]] bool may_precede(std::uint32_t before, std::uint32_t execution) {
    return is_on_same_thread(before, execution) || is_linked(before, execution);
  }
  /// Whether it had ended when the other one began. Of what has no length the lines decide, so that the path
  /// never comes back to where it was.
  [[nodiscard]] bool has_ended(std::uint32_t before, std::uint32_t execution) const {
    const std::uint64_t begin = executions_.begin_of(execution);
    if (executions_.end_of(before) != begin || executions_.duration_of(before) > 0) {
      return executions_.end_of(before) <= begin;
    }
    return before < executions_.ended_before(execution);
  }

  /// The one before `execution`, or `none`. The path only goes back in time, so that all calls together look
  /// at each execution once, but for those in `passed_over_`.
  std::uint32_t find_before(std::uint32_t execution) {
    if (!passed_over_.empty() &&
        executions_.end_of(passed_over_.front()) == executions_.begin_of(execution)) {
      for (const std::uint32_t candidate : passed_over_) {
        if (may_precede(candidate, execution)) return candidate;
      }
    }
    while (next_ > 0) {
      const std::uint32_t candidate = leaves_[--next_];
      if (!has_ended(candidate, execution)) continue;
      if (may_precede(candidate, execution)) return candidate;
      pass_over(candidate);
    }
    return none;
  }

  /// Keeps what ended at the same time as the last one that was looked at: one of no length may follow on the
  /// path, which began at that very time.
  void pass_over(std::uint32_t candidate) {
    if (!passed_over_.empty() && executions_.end_of(passed_over_.front()) != executions_.end_of(candidate)) {
      passed_over_.clear();
    }
    if (executions_.duration_of(candidate) > 0) passed_over_.push_back(candidate);
  }

  [[nodiscard]] gap_kind kind_of_gap(std::uint32_t execution, std::uint32_t before, std::uint64_t gap_begin) {
    if (executions_.begin_of(execution) == gap_begin) return gap_kind::none;
    const std::uint32_t outermost = outermost_[execution];
    if (outermost != execution && executions_.begin_of(outermost) <= gap_begin) return gap_kind::enclosing;
    if (before == none) return gap_kind::unexplained;
    const bool is_data = is_linked(before, execution);
    if (is_data != is_on_same_thread(before, execution)) return is_data ? gap_kind::thread : gap_kind::data;
    return gap_kind::unexplained;
  }

  const execution_table& executions_;
  node_order order_;
  active_span span_;
  std::vector<std::uint32_t> leaves_;
  std::size_t next_;  ///< leaves in front of it were not looked at
  std::vector<std::uint32_t> passed_over_;
  std::vector<std::uint32_t> outermost_;
};

}  // namespace

observed_path find_observed_path(const execution_table& executions, const node_links& links,
                                 const tick_range& range) {
  return path_finder(executions, links, range).find();
}
