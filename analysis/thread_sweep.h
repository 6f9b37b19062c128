#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "analysis/tick_sum.h"

class execution_table;
struct run_figures;

/// Goes through the time of a run once, from its end to its begin, with the innermost execution of each
/// thread at hand. Adds up how long how many threads were busy, the busy time of each thread, and the self
/// time and idle share of each node.
class thread_sweep {
 public:
  /// Borrows everything. `figures` has its span, threads and nodes, and zeros for what the sweep finds out;
  /// `busy_ticks` is by thread; `times` are those for `run_figures::busy_ticks_from`, in ascending order.
  thread_sweep(const execution_table& executions, run_figures& figures, std::span<std::uint64_t> busy_ticks,
               std::span<const std::uint64_t> times);
  thread_sweep(const thread_sweep&) = delete;
  thread_sweep& operator=(const thread_sweep&) = delete;

  void run();

 private:
  /// Where a thread is: in `innermost`, which became that at `since` (it ended, or what is nested in it
  /// began). What `left` counts did not end yet on the way back.
  struct position {
    std::uint32_t innermost;
    std::size_t left;
    std::uint64_t since = 0;
    tick_sum idle_since = 0;
  };
  struct change {
    std::uint64_t time;
    std::size_t thread;
    [[nodiscard]] bool operator<(const change& other) const { return time < other.time; }
  };

  [[nodiscard]] bool enters_nested(std::size_t thread) const;
  [[nodiscard]] bool has_change(std::size_t thread) const;
  [[nodiscard]] std::uint64_t next_change(std::size_t thread) const;
  void move_to(std::uint64_t time);
  /// Notes the busy time for the times from `time` on.
  void pass_times(std::uint64_t time);
  void leave(std::size_t thread);
  void enter(std::size_t thread, std::uint32_t execution);
  [[nodiscard]] bool is_busy(std::uint32_t execution) const;

  const execution_table& executions_;
  run_figures& figures_;
  std::span<std::uint64_t> busy_ticks_;
  std::span<const std::uint64_t> times_;  ///< that are still to be passed
  std::vector<position> positions_;       ///< by thread
  std::uint64_t time_ = 0;
  std::size_t busy_threads_ = 0;
  tick_sum busy_sum_ = 0;  ///< of all threads, from the end down to `time_`
  /// How much idle time an execution would have taken that was innermost from the end down to `time_`, in
  /// parts of a tick.
  tick_sum idle_ = 0;
  /// By node, side by side: nodes come in any order, and each place has to come from memory.
  struct node_sums {
    tick_sum self_ticks = 0;
    tick_sum idle_share = 0;
  };
  std::vector<node_sums> node_sums_;
};
