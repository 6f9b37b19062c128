#include "analysis/thread_sweep.h"

#include <algorithm>

#include "analysis/execution_table.h"
#include "analysis/figures.h"

namespace {

/// Idle time is counted in parts of a tick, 2^40 of them. What is rounded off is far below a tick for as many
/// executions and threads as there may be, and sums stay below 2^128.
constexpr unsigned fraction_bits = 40;

tick_sum to_thousandths(tick_sum parts) {
  const tick_sum whole = parts >> fraction_bits;
  return whole * thousandths + ((parts - (whole << fraction_bits)) * thousandths >> fraction_bits);
}

}  // namespace

thread_sweep::thread_sweep(const execution_table& executions, run_figures& figures,
                           std::span<std::uint64_t> busy_ticks, std::span<const std::uint64_t> times)
    : executions_(executions),
      figures_(figures),
      busy_ticks_(busy_ticks),
      times_(times),
      time_(figures.span.last),
      node_sums_(figures.nodes.size()) {
  figures.busy_ticks_from.resize(times.size());
  positions_.reserve(busy_ticks.size());
  for (int thread = 0; thread < executions.thread_count(); ++thread) {
    positions_.push_back({execution_table::none, executions.executions_of(thread).size()});
  }
}

void thread_sweep::run() {
  std::vector<change> changes;
  for (std::size_t thread = 0; thread < positions_.size(); ++thread) {
    if (has_change(thread)) changes.push_back({next_change(thread), thread});
  }
  std::ranges::make_heap(changes, std::less{});
  while (!changes.empty()) {
    std::ranges::pop_heap(changes, std::less{});
    const auto [time, thread] = changes.back();
    changes.pop_back();
    move_to(std::clamp(time, figures_.span.first, figures_.span.last));
    const std::uint32_t innermost = positions_[thread].innermost;
    const bool enters = enters_nested(thread);
    leave(thread);
    if (enters) {
      const auto of_thread = executions_.executions_of(static_cast<int>(thread));
      enter(thread, of_thread[--positions_[thread].left]);
    } else {
      enter(thread, executions_.parent_of(innermost));
    }
    if (!has_change(thread)) continue;
    changes.push_back({next_change(thread), thread});
    std::ranges::push_heap(changes, std::less{});
  }
  pass_times(0);
  for (std::size_t node = 0; node < node_sums_.size(); ++node) {
    figures_.nodes[node].self_ticks = node_sums_[node].self_ticks;
    figures_.nodes[node].idle_share_thousandths = to_thousandths(node_sums_[node].idle_share);
  }
}

bool thread_sweep::enters_nested(std::size_t thread) const {
  const position& at = positions_[thread];
  if (at.left == 0) return false;
  const auto of_thread = executions_.executions_of(static_cast<int>(thread));
  return executions_.parent_of(of_thread[at.left - 1]) == at.innermost;
}

bool thread_sweep::has_change(std::size_t thread) const {
  return positions_[thread].innermost != execution_table::none || positions_[thread].left > 0;
}

std::uint64_t thread_sweep::next_change(std::size_t thread) const {
  const position& at = positions_[thread];
  if (!enters_nested(thread)) return executions_.begin_of(at.innermost);
  return executions_.end_of(executions_.executions_of(static_cast<int>(thread))[at.left - 1]);
}

void thread_sweep::move_to(std::uint64_t time) {
  const std::uint64_t ticks = time_ - time;
  if (ticks == 0) return;
  pass_times(time);
  time_ = time;
  busy_sum_ += tick_sum{ticks} * busy_threads_;
  figures_.concurrency[busy_threads_] += ticks;
  if (busy_threads_ == 0) return;
  const tick_sum idle = tick_sum{ticks} * (figures_.threads.size() - busy_threads_);
  // A division of 64 bits costs a fraction of one of 128.
  if (idle >> (64 - fraction_bits) == 0) {
    idle_ += (static_cast<std::uint64_t>(idle) << fraction_bits) / busy_threads_;
  } else {
    idle_ += (idle << fraction_bits) / busy_threads_;
  }
}

void thread_sweep::pass_times(std::uint64_t time) {
  while (!times_.empty() && times_.back() >= time) {
    const std::uint64_t ticks = time_ - std::min(times_.back(), time_);
    times_ = times_.first(times_.size() - 1);
    figures_.busy_ticks_from[times_.size()] = busy_sum_ + tick_sum{ticks} * busy_threads_;
  }
}

void thread_sweep::leave(std::size_t thread) {
  const position& at = positions_[thread];
  if (at.innermost == execution_table::none) return;
  node_sums& sums = node_sums_[executions_.node_of(at.innermost)];
  const std::uint64_t ticks = at.since - time_;
  sums.self_ticks += ticks;
  if (!is_busy(at.innermost)) return;
  busy_ticks_[thread] += ticks;
  sums.idle_share += idle_ - at.idle_since;
  --busy_threads_;
}

void thread_sweep::enter(std::size_t thread, std::uint32_t execution) {
  position& at = positions_[thread];
  at.innermost = execution;
  at.since = time_;
  at.idle_since = idle_;
  if (execution != execution_table::none && is_busy(execution)) ++busy_threads_;
}

bool thread_sweep::is_busy(std::uint32_t execution) const {
  return executions_.kind_of(execution) != execution_kind::barrier;
}
