#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "analysis/tick_range.h"
#include "analysis/tick_sum.h"

class execution_table;

/// What the executions of one thread or node took, and when they were. Times in ticks.
struct thread_figures {
  int thread = 0;
  std::uint64_t executions = 0;
  std::uint64_t busy_ticks = 0;
  std::optional<std::uint64_t> first_begin;  ///< none without executions wholly inside the range
  std::optional<std::uint64_t> last_end;
};

struct node_figures {
  /// Of executions wholly inside the range; none without such.
  struct spread {
    tick_sum sum_ticks = 0;
    std::uint64_t min_ticks = 0;
    std::uint64_t p50_ticks = 0;
    std::uint64_t p90_ticks = 0;
    std::uint64_t p99_ticks = 0;
    std::uint64_t max_ticks = 0;
    std::uint64_t first_begin = 0;
    std::uint64_t last_end = 0;
  };

  std::uint64_t executions = 0;
  std::uint64_t threads = 0;
  tick_sum total_ticks = 0;
  tick_sum self_ticks = 0;
  tick_sum idle_share_thousandths = 0;
  std::optional<spread> inclusive;

  /// The mean inclusive time, where there is one.
  [[nodiscard]] tick_sum mean_thousandths() const {
    return divide_in_thousandths(inclusive->sum_ticks, executions);
  }
};

/// How well the threads of a run were used, and what its nodes took. docs/analysis.md defines each figure.
struct run_figures {
  active_span span;
  std::uint64_t executions = 0;
  std::vector<thread_figures> threads;     ///< those that executed something, by number
  std::vector<std::uint64_t> concurrency;  ///< by number of busy threads, from none to all
  std::vector<node_figures> nodes;         ///< by number
  /// By time that was asked for: how long all threads together were busy from then on.
  std::vector<tick_sum> busy_ticks_from;
  std::optional<double> average_parallelism;
  std::optional<double> utilisation;
  std::optional<double> imbalance;
};

/// The figures of a run with as many nodes. `times`, in ascending order, are those for `busy_ticks_from`.
/// Takes 8 bytes of memory an execution on the way.
[[nodiscard]] run_figures compute_figures(const execution_table& executions, std::uint32_t node_count,
                                          const tick_range& range, std::span<const std::uint64_t> times = {});
