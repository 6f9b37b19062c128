#include "analysis/figures.h"

#include <algorithm>
#include <array>
#include <span>

#include "analysis/execution_table.h"
#include "analysis/thread_sweep.h"

namespace {

/// The rank of a percentile among `count` sorted values, from 0: that of the least value that is no less than
/// so many of a hundred.
std::size_t rank_of(unsigned percent, std::size_t count) { return (count * percent + 99) / 100 - 1; }

class figure_builder {
 public:
  figure_builder(const execution_table& executions, std::uint32_t node_count, const tick_range& range,
                 std::span<const std::uint64_t> times)
      : executions_(executions), range_(range), times_(times) {
    figures_.span = find_active_span(executions, range);
    figures_.nodes.resize(node_count);
  }

  run_figures build() {
    for (int thread = 0; thread < executions_.thread_count(); ++thread) look_at(thread);
    figures_.concurrency.resize(figures_.threads.size() + 1);
    find_percentiles();
    sweep();
    find_use_of_threads();
    return std::move(figures_);
  }

 private:
  [[nodiscard]] bool is_inside(std::uint32_t i) const {
    return range_.holds(executions_.begin_of(i), executions_.end_of(i));
  }

  void look_at(int thread) {
    thread_figures figures;
    figures.thread = thread;
    bool has_run = false;
    for (const std::uint32_t i : executions_.executions_of(thread)) {
      const std::uint64_t begin = executions_.begin_of(i);
      const std::uint64_t end = executions_.end_of(i);
      if (!range_.touches(begin, end)) continue;
      has_run = true;
      node_figures& node = figures_.nodes[executions_.node_of(i)];
      node.total_ticks += std::min(end, range_.to) - std::max(begin, range_.from);
      if (!is_inside(i)) continue;
      ++figures.executions;
      figures.first_begin = std::min(figures.first_begin.value_or(begin), begin);
      figures.last_end = end;
      add(node, begin, end);
      note_thread(executions_.node_of(i), thread);
    }
    if (!has_run) return;
    figures_.executions += figures.executions;
    figures_.threads.push_back(figures);
  }

  static void add(node_figures& node, std::uint64_t begin, std::uint64_t end) {
    ++node.executions;
    const std::uint64_t ticks = end - begin;
    if (!node.inclusive) {
      node.inclusive = {.min_ticks = ticks, .max_ticks = ticks, .first_begin = begin, .last_end = end};
    }
    node_figures::spread& spread = *node.inclusive;
    spread.min_ticks = std::min(spread.min_ticks, ticks);
    spread.max_ticks = std::max(spread.max_ticks, ticks);
    spread.first_begin = std::min(spread.first_begin, begin);
    spread.last_end = std::max(spread.last_end, end);
    spread.sum_ticks += ticks;
  }

  /// Threads come one after the other, so that the last one tells whether this one is new.
  void note_thread(std::uint32_t node, int thread) {
    if (last_threads_.empty()) last_threads_.assign(figures_.nodes.size(), -1);
    if (last_threads_[node] == thread) return;
    last_threads_[node] = thread;
    ++figures_.nodes[node].threads;
  }

  void find_percentiles() {
    std::vector<std::size_t> next(figures_.nodes.size() + 1);
    for (std::size_t node = 0; node < figures_.nodes.size(); ++node) {
      next[node + 1] = next[node] + figures_.nodes[node].executions;
    }
    std::vector<std::uint64_t> ticks(figures_.executions);
    for (std::uint32_t i = 0; i < executions_.size(); ++i) {
      if (is_inside(i)) ticks[next[executions_.node_of(i)]++] = executions_.duration_of(i);
    }
    std::size_t first = 0;
    for (node_figures& node : figures_.nodes) {
      if (!node.inclusive) continue;
      find_percentiles(*node.inclusive, {ticks.data() + first, node.executions});
      first += node.executions;
    }
  }

  static void find_percentiles(node_figures::spread& spread, std::span<std::uint64_t> ticks) {
    // Each selection leaves the greater values behind it for the next one.
    auto begin = ticks.begin();
    const auto select = [&ticks, &begin](unsigned percent) {
      const auto nth = ticks.begin() + static_cast<std::ptrdiff_t>(rank_of(percent, ticks.size()));
      std::nth_element(begin, nth, ticks.end());
      begin = nth;
      return *nth;
    };
    spread.p50_ticks = select(50);
    spread.p90_ticks = select(90);
    spread.p99_ticks = select(99);
  }

  void sweep() {
    std::vector<std::uint64_t> busy_ticks(static_cast<std::size_t>(executions_.thread_count()));
    thread_sweep(executions_, figures_, busy_ticks, times_).run();
    for (thread_figures& thread : figures_.threads) {
      thread.busy_ticks = busy_ticks[static_cast<std::size_t>(thread.thread)];
    }
  }

  void find_use_of_threads() {
    double sum = 0;
    double greatest = 0;
    for (const thread_figures& thread : figures_.threads) {
      const auto busy = static_cast<double>(thread.busy_ticks);
      sum += busy;
      greatest = std::max(greatest, busy);
    }
    const auto threads = static_cast<double>(figures_.threads.size());
    if (figures_.span.ticks() > 0) {
      figures_.average_parallelism = sum / static_cast<double>(figures_.span.ticks());
      figures_.utilisation = *figures_.average_parallelism / threads;
    }
    if (sum > 0) figures_.imbalance = greatest * threads / sum - 1;
  }

  const execution_table& executions_;
  const tick_range& range_;
  std::span<const std::uint64_t> times_;
  run_figures figures_;
  std::vector<int> last_threads_;  ///< by node: the thread that ran it last
};

}  // namespace

run_figures compute_figures(const execution_table& executions, std::uint32_t node_count,
                            const tick_range& range, std::span<const std::uint64_t> times) {
  return figure_builder(executions, node_count, range, times).build();
}
