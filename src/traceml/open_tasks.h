#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// How many tasks are open on each thread of a timeline. Decides which ends the timeline has: those of open
/// tasks, and behind all events one for each task that is still open.
class open_tasks {
 public:
  void begin(int tid) {
    const auto thread = static_cast<std::size_t>(tid);
    if (thread >= counts_.size()) counts_.resize(thread + 1);
    ++counts_[thread];
  }
  /// Ends the task that the thread `tid` began last; false when none is open.
  [[nodiscard]] bool end(int tid) {
    if (!has_open(tid)) return false;
    --counts_[static_cast<std::size_t>(tid)];
    return true;
  }

  [[nodiscard]] bool has_open(int tid) const {
    const auto thread = static_cast<std::size_t>(tid);
    return thread < counts_.size() && counts_[thread] > 0;
  }
  /// All threads that ever had an open task are below.
  [[nodiscard]] int thread_count() const { return static_cast<int>(counts_.size()); }

 private:
  std::vector<std::uint64_t> counts_;
};
