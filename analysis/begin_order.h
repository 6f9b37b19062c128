#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/execution_table.h"

/// The executions of each thread in the order in which they began: what is around an execution comes before
/// it.
class begin_order {
 public:
  explicit begin_order(const execution_table& executions);

  [[nodiscard]] std::span<const std::uint32_t> of(int thread) const {
    const auto index = static_cast<std::size_t>(thread);
    // A thread whose lines tell of no task may be above all that the table knows.
    if (index + 1 >= first_of_thread_.size()) return {};
    return {order_.data() + first_of_thread_[index], first_of_thread_[index + 1] - first_of_thread_[index]};
  }
  /// The place of an execution among those of its thread.
  [[nodiscard]] std::size_t position_of(const execution_table& executions, std::uint32_t execution) const;

 private:
  void arrange(const execution_table& executions, std::span<const std::uint32_t> by_end,
               std::span<std::uint32_t> by_begin);

  std::vector<std::uint32_t> order_;
  std::vector<std::size_t> first_of_thread_;  ///< in `order_`, and behind the last one its size
  std::vector<std::uint32_t> firsts_;         ///< by place among the ends: of the first one inside it
  std::vector<std::uint32_t> stack_;
};

/// Goes through the begins and ends of a thread's executions in the order of their lines.
class lane_walk {
 public:
  /// Borrows both; `by_begin` are all executions of a thread.
  lane_walk(const execution_table& executions, std::span<const std::uint32_t> by_begin)
      : executions_(&executions), by_begin_(by_begin) {}

  /// Goes to the next begin or end; false behind the last one.
  bool next() {
    if (begun_ < by_begin_.size() && executions_->parent_of(by_begin_[begun_]) == innermost_) {
      execution_ = innermost_ = by_begin_[begun_++];
      time_ = executions_->begin_of(execution_);
      return true;
    }
    if (innermost_ == execution_table::none) return false;
    execution_ = innermost_;
    innermost_ = executions_->parent_of(execution_);
    time_ = executions_->end_of(execution_);
    return true;
  }

  // Of the line where it stands; after a call of next().
  [[nodiscard]] std::uint64_t time() const { return time_; }
  [[nodiscard]] std::uint32_t execution() const { return execution_; }
  /// What is innermost behind the line, or `execution_table::none`.
  [[nodiscard]] std::uint32_t innermost() const { return innermost_; }

 private:
  const execution_table* executions_;
  std::span<const std::uint32_t> by_begin_;
  std::size_t begun_ = 0;
  std::uint64_t time_ = 0;
  std::uint32_t execution_ = execution_table::none;
  std::uint32_t innermost_ = execution_table::none;
};
