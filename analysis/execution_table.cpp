#include "analysis/execution_table.h"

#include <algorithm>
#include <stdexcept>

void execution_table::reserve(std::size_t count) {
  if (count > most_executions) throw std::length_error("the run has too many tasks");
  begins_.reserve(count);
  ends_.reserve(count);
  nodes_.reserve(count);
  threads_and_kinds_.reserve(count);
  ended_before_.reserve(count);
  if (keeps_begin_order_) begin_numbers_.reserve(count);
}

std::uint64_t execution_table::advance(int thread, std::uint64_t time) {
  const auto index = static_cast<std::size_t>(thread);
  if (index >= open_.size()) {
    open_.resize(index + 1);
    clocks_.resize(index + 1);
  }
  return clocks_[index].last_time = std::max(clocks_[index].last_time, time);
}

void execution_table::begin(int thread, std::uint64_t time, std::uint32_t node, execution_kind kind) {
  const std::uint64_t begin = advance(thread, time);
  const auto index = static_cast<std::size_t>(thread);
  ++clocks_[index].line_count;
  open_[index].push_back({begin, node, size(), begun_++, kind, true});
}

void execution_table::begin_outer(int thread, std::uint64_t time) {
  pass(thread, time);
  open_[static_cast<std::size_t>(thread)].push_back({.is_execution = false});
}

void execution_table::end(int thread, std::uint64_t time) {
  const std::uint64_t end = advance(thread, time);
  const auto index = static_cast<std::size_t>(thread);
  std::vector<open_task>& open = open_[index];
  const open_task ended = open.back();
  open.pop_back();
  if (!ended.is_execution) return;
  ++clocks_[index].line_count;
  begins_.push_back(ended.begin);
  ends_.push_back(end);
  nodes_.push_back(ended.node);
  threads_and_kinds_.push_back(static_cast<std::uint32_t>(thread) << kind_bits |
                               static_cast<std::uint32_t>(ended.kind));
  ended_before_.push_back(ended.ended_before);
  if (keeps_begin_order_) begin_numbers_.push_back(ended.begin_number);
}

void execution_table::close() {
  group_by_thread();
  find_parents();
}

void execution_table::group_by_thread() {
  // The counts become positions, each of which then moves on to the begin of the next thread's executions.
  first_of_thread_.assign(open_.size() + 2, 0);
  for (const std::uint32_t packed : threads_and_kinds_) ++first_of_thread_[(packed >> kind_bits) + 2];
  for (std::size_t i = 1; i < first_of_thread_.size(); ++i) first_of_thread_[i] += first_of_thread_[i - 1];
  by_thread_.resize(size());
  for (std::uint32_t i = 0; i < size(); ++i) {
    by_thread_[first_of_thread_[(threads_and_kinds_[i] >> kind_bits) + 1]++] = i;
  }
  first_of_thread_.pop_back();
}

void execution_table::find_parents() {
  parents_.assign(size(), none);
  std::vector<std::uint32_t> around;
  for (int thread = 0; thread < thread_count(); ++thread) {
    around.clear();
    const std::span<const std::uint32_t> executions = executions_of(thread);
    for (auto execution = executions.rbegin(); execution != executions.rend(); ++execution) {
      // Nested is what ended behind the begin of the other.
      while (!around.empty() && *execution < ended_before_[around.back()]) around.pop_back();
      if (!around.empty()) parents_[*execution] = around.back();
      around.push_back(*execution);
    }
  }
}

std::span<const std::uint32_t> execution_table::executions_of(int thread) const {
  const auto index = static_cast<std::size_t>(thread);
  const std::size_t first = first_of_thread_[index];
  return {by_thread_.data() + first, first_of_thread_[index + 1] - first};
}
