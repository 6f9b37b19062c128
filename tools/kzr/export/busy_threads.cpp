#include "kzr/export/busy_threads.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "analysis/execution_table.h"
#include "analysis/thread_lines.h"
#include "kzr/export/nanosecond_clock.h"

namespace {

/// A thread and its next line, which is there; in a heap the earliest is on top.
struct thread_at_line {
  thread_lines lines;
  bool is_busy = false;  ///< in front of that line
};

}  // namespace

void count_busy_threads(const execution_table& executions, const nanosecond_clock& clock,
                        const std::function<void(std::uint64_t time, std::uint64_t busy_threads)>& take) {
  std::vector<thread_at_line> threads;
  for (int number = 0; number < executions.thread_count(); ++number) {
    thread_at_line thread{thread_lines(executions, number)};
    if (thread.lines.next()) threads.push_back(std::move(thread));
  }
  using change = std::pair<std::uint64_t, std::size_t>;  // time, index of a thread
  std::vector<change> changes;
  for (std::size_t i = 0; i < threads.size(); ++i) changes.emplace_back(threads[i].lines.time(), i);
  std::ranges::make_heap(changes, std::greater{});

  std::uint64_t now = 0;
  std::uint64_t busy_threads = 0;
  std::uint64_t told = 0;
  const auto tell = [&] {
    if (busy_threads != told) take(now, busy_threads);
    told = busy_threads;
  };
  while (!changes.empty()) {
    std::ranges::pop_heap(changes, std::greater{});
    auto& [time, index] = changes.back();
    if (const std::uint64_t at = clock.at(time); at != now) {
      tell();
      now = at;
    }
    auto& [lines, was_busy] = threads[index];
    const bool is_busy = lines.innermost() != execution_table::none &&
                         executions.kind_of(lines.innermost()) != execution_kind::barrier;
    busy_threads += static_cast<std::uint64_t>(is_busy) - static_cast<std::uint64_t>(was_busy);
    was_busy = is_busy;
    if (lines.next()) {
      time = lines.time();
      std::ranges::push_heap(changes, std::greater{});
    } else {
      changes.pop_back();
    }
  }
  tell();
}
