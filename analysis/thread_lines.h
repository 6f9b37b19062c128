#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/execution_table.h"

/// Goes through the begins and ends of the executions of one thread, in the order of the timeline's lines.
class thread_lines {
 public:
  /// Borrows the table, which is closed.
  thread_lines(const execution_table& executions, int thread)
      : executions_(executions), left_(executions.executions_of(thread)) {}

  /// Goes to the next line; false when there is none.
  bool next();

  // Of the line at hand.
  [[nodiscard]] bool is_begin() const { return is_begin_; }
  [[nodiscard]] std::uint32_t execution() const { return execution_; }
  [[nodiscard]] std::uint64_t time() const {
    return is_begin_ ? executions_.begin_of(execution_) : executions_.end_of(execution_);
  }
  /// The innermost execution behind it, or `execution_table::none`.
  [[nodiscard]] std::uint32_t innermost() const { return innermost_; }

 private:
  const execution_table& executions_;
  std::span<const std::uint32_t> left_;  ///< those that did not end yet
  /// Those that begin before the next one ends, from the last one to the first one.
  std::vector<std::uint32_t> beginning_;
  std::uint32_t innermost_ = execution_table::none;
  std::uint32_t execution_ = execution_table::none;
  bool is_begin_ = false;
};
