#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "analysis/execution_table.h"

class packed_part;
class page_nodes;

/// What all lanes share.
struct lane_context {
  const execution_table& executions;
  const page_nodes& nodes;
  const std::vector<bool>& is_tied;
  std::uint64_t origin;
};

/// Encodes the executions of a thread block by block, in the order of their begins, as docs/report_page.md
/// has it.
class lane_blocks {
 public:
  /// A block without its columns.
  struct block {
    std::uint32_t count = 0;
    std::uint64_t first = 0;    ///< begin, seen from the origin
    std::uint64_t last = 0;     ///< the greatest end, likewise
    std::uint64_t longest = 0;  ///< duration
    std::uint32_t rows = 0;     ///< how many are nested in each other, those around the block too
  };

  /// Borrows everything; `by_begin` are all executions of the thread.
  lane_blocks(const lane_context& context, std::span<const std::uint32_t> by_begin)
      : context_(&context), by_begin_(by_begin) {}

  [[nodiscard]] bool has_next() const { return next_ < by_begin_.size(); }
  /// Where the next block begins, seen from the origin; there is one.
  [[nodiscard]] std::uint64_t next_begin() const { return begin_of(by_begin_[next_]); }
  /// Encodes the next block behind the others of a chunk; there is one.
  block append_next(packed_part& chunk);

 private:
  /// An execution that may be around the next one.
  struct open_execution {
    std::uint32_t execution;
    std::uint32_t position;
  };

  [[nodiscard]] std::uint64_t begin_of(std::uint32_t execution) const {
    return context_->executions.begin_of(execution) - context_->origin;
  }
  void leave_for(std::uint32_t execution);
  void encode_open();
  /// Returns how many are nested in each other.
  std::uint32_t encode_levels(std::span<const std::uint32_t> executions);
  void encode_ties(std::span<const std::uint32_t> executions);

  const lane_context* context_;
  std::span<const std::uint32_t> by_begin_;
  std::size_t next_ = 0;
  std::vector<open_execution> open_;  ///< outermost first
  std::string column_;                ///< that is being encoded
};
