#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// What an execution is: only bodies of nodes and regions are on the observed path, and a thread that waits
/// at a barrier is not busy.
enum class execution_kind : std::uint8_t { work, implicit_task, barrier };

/// The executions of a run: what ran on which thread, from when to when. They are numbered in the order in
/// which their ends stand in the timeline, over all threads. Large runs have many millions of them, so that
/// each property is a column. Filled line by line, as the timeline has them, with begin() or begin_outer(),
/// end() and pass(); then, after one call of close(), read. All times are in ticks.
class execution_table {
 public:
  /// No execution.
  static constexpr std::uint32_t none = UINT32_MAX;
  /// More executions have no numbers.
  static constexpr std::size_t most_executions = std::size_t{1} << 30;

  /// From the first line on, keeps which executions began before which: 4 bytes each.
  void keep_begin_order() { keeps_begin_order_ = true; }

  /// Makes room for as many executions. Throws `std::length_error` above `most_executions`.
  void reserve(std::size_t count);

  // The lines of the timeline. A time of a thread earlier than the one before it counts as that one.

  /// An execution of `node` begins on `thread`.
  void begin(int thread, std::uint64_t time, std::uint32_t node, execution_kind kind);
  /// A task begins that is no execution: the first line of two for one.
  void begin_outer(int thread, std::uint64_t time);
  /// What began last on `thread`, and did not end yet, ends; there is such a task.
  void end(int thread, std::uint64_t time);
  /// A line that neither begins nor ends a task.
  void pass(int thread, std::uint64_t time) { static_cast<void>(advance(thread, time)); }

  /// Finds out what is nested in what, when every task has ended.
  void close();

  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(begins_.size()); }
  [[nodiscard]] std::uint64_t begin_of(std::uint32_t execution) const { return begins_[execution]; }
  [[nodiscard]] std::uint64_t end_of(std::uint32_t execution) const { return ends_[execution]; }
  [[nodiscard]] std::uint64_t duration_of(std::uint32_t execution) const {
    return ends_[execution] - begins_[execution];
  }
  [[nodiscard]] std::uint32_t node_of(std::uint32_t execution) const { return nodes_[execution]; }
  [[nodiscard]] int thread_of(std::uint32_t execution) const {
    return static_cast<int>(threads_and_kinds_[execution] >> kind_bits);
  }
  [[nodiscard]] execution_kind kind_of(std::uint32_t execution) const {
    return static_cast<execution_kind>(threads_and_kinds_[execution] & kind_mask);
  }
  /// How many executions of the run had ended where this one's begin stands: those with smaller numbers.
  [[nodiscard]] std::uint32_t ended_before(std::uint32_t execution) const { return ended_before_[execution]; }
  /// Its number in the order of begins over all threads, from 0; where that order is kept.
  [[nodiscard]] std::uint32_t begin_number_of(std::uint32_t execution) const {
    return begin_numbers_[execution];
  }
  /// The innermost execution around it on its thread, which has a greater number, or `none`.
  [[nodiscard]] std::uint32_t parent_of(std::uint32_t execution) const { return parents_[execution]; }

  /// All threads are below.
  [[nodiscard]] int thread_count() const { return static_cast<int>(open_.size()); }
  /// How many begins and ends of executions there were on `thread` so far.
  [[nodiscard]] std::uint32_t line_count(int thread) const {
    return thread < thread_count() ? clocks_[static_cast<std::size_t>(thread)].line_count : 0;
  }
  /// The executions of a thread, in the order of their ends.
  [[nodiscard]] std::span<const std::uint32_t> executions_of(int thread) const;

 private:
  static constexpr unsigned kind_bits = 2;
  static constexpr std::uint32_t kind_mask = (1U << kind_bits) - 1;

  /// A task that did not end yet.
  struct open_task {
    std::uint64_t begin = 0;
    std::uint32_t node = 0;
    std::uint32_t ended_before = 0;
    std::uint32_t begin_number = 0;
    execution_kind kind = execution_kind::work;
    bool is_execution = true;
  };

  /// How far the lines of a thread are.
  struct thread_clock {
    std::uint64_t last_time = 0;
    std::uint32_t line_count = 0;
  };

  std::uint64_t advance(int thread, std::uint64_t time);
  void group_by_thread();
  void find_parents();

  std::vector<std::uint64_t> begins_;
  std::vector<std::uint64_t> ends_;
  std::vector<std::uint32_t> nodes_;
  std::vector<std::uint32_t> threads_and_kinds_;
  std::vector<std::uint32_t> ended_before_;
  std::vector<std::uint32_t> begin_numbers_;  ///< empty where nobody asks for them
  std::vector<std::uint32_t> parents_;
  std::vector<std::uint32_t> by_thread_;
  std::vector<std::size_t> first_of_thread_;  ///< in `by_thread_`, and behind the last one its size

  // By thread.
  std::vector<std::vector<open_task>> open_;
  std::vector<thread_clock> clocks_;

  bool keeps_begin_order_ = false;
  std::uint32_t begun_ = 0;
};
