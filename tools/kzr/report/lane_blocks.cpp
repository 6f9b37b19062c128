#include "kzr/report/lane_blocks.h"

#include <algorithm>
#include <array>
#include <utility>

#include "kzr/report/packed_part.h"
#include "kzr/report/page_nodes.h"

namespace {

constexpr std::size_t most_in_block = 4096;
/// Of more executions around a block only the innermost ones are named, so that deep nesting does not take
/// the square of its depth.
constexpr std::size_t most_named = 1024;

void append_number(std::string& bytes, std::uint64_t number) {
  constexpr unsigned bits = 7;
  constexpr std::uint64_t more = 1U << bits;
  std::array<char, 10> encoded;
  std::size_t size = 0;
  for (; number >= more; number >>= bits) encoded[size++] = static_cast<char>(number | more);
  encoded[size++] = static_cast<char>(number);
  bytes.append(encoded.data(), size);
}

/// Small numbers for those near 0 on both sides.
std::uint64_t zigzag(std::int64_t number) {
  return static_cast<std::uint64_t>(number) << 1U ^ (number < 0 ? UINT64_MAX : 0);
}

}  // namespace

lane_blocks::block lane_blocks::append_next(packed_part& chunk) {
  const execution_table& executions = context_->executions;
  const auto of_block = by_begin_.subspan(next_, std::min(most_in_block, by_begin_.size() - next_));
  block encoded = {.count = static_cast<std::uint32_t>(of_block.size()), .first = begin_of(of_block.front())};
  const auto append = [this, &chunk](repetition repeats) {
    chunk.append_other(column_, repeats);
    column_.clear();
  };
  // The low bytes of times are mostly noise.
  const auto append_times = [&](auto time_of) {
    for (std::size_t i = 0; i < of_block.size(); ++i) column_ += static_cast<char>(time_of(i));
    append(repetition::unlikely);
    for (std::size_t i = 0; i < of_block.size(); ++i) append_number(column_, time_of(i) >> 8U);
    append(repetition::likely);
  };
  leave_for(of_block.front());
  encode_open();
  chunk.append(std::exchange(column_, {}));
  append_times([&](std::size_t i) { return begin_of(of_block[i]) - begin_of(of_block[i == 0 ? 0 : i - 1]); });
  append_times([&](std::size_t i) { return executions.duration_of(of_block[i]); });
  for (const std::uint32_t execution : of_block) {
    encoded.last = std::max(encoded.last, executions.end_of(execution) - context_->origin);
    encoded.longest = std::max(encoded.longest, executions.duration_of(execution));
    append_number(column_, context_->nodes.number_of(executions.node_of(execution)));
  }
  append(repetition::likely);
  encoded.rows = encode_levels(of_block);
  append(repetition::likely);
  encode_ties(of_block);
  append(repetition::likely);
  next_ += of_block.size();
  return encoded;
}

/// Drops what ended before `execution` began.
void lane_blocks::leave_for(std::uint32_t execution) {
  const std::uint32_t parent = context_->executions.parent_of(execution);
  while (!open_.empty() && open_.back().execution != parent) open_.pop_back();
}

void lane_blocks::encode_open() {
  append_number(column_, open_.size());
  for (std::size_t i = open_.size() - std::min(open_.size(), most_named); i < open_.size(); ++i) {
    append_number(column_, open_[i].position);
  }
}

std::uint32_t lane_blocks::encode_levels(std::span<const std::uint32_t> executions) {
  std::size_t rows = 0;
  auto depth = static_cast<std::int64_t>(open_.size());
  auto position = static_cast<std::uint32_t>(next_);
  for (const std::uint32_t execution : executions) {
    leave_for(execution);
    const auto next = static_cast<std::int64_t>(open_.size());
    append_number(column_, zigzag(next - depth) * 4 +
                               static_cast<std::uint64_t>(context_->executions.kind_of(execution)));
    depth = next;
    open_.push_back({execution, position++});
    rows = std::max(rows, open_.size());
  }
  return static_cast<std::uint32_t>(rows);
}

void lane_blocks::encode_ties(std::span<const std::uint32_t> executions) {
  const auto is_tied = [this](std::uint32_t execution) { return context_->is_tied[execution]; };
  append_number(column_, static_cast<std::uint64_t>(std::ranges::count_if(executions, is_tied)));
  std::size_t last_position = 0;
  std::int64_t last_number = 0;
  for (std::size_t i = 0; i < executions.size(); ++i) {
    const std::uint32_t execution = executions[i];
    if (!is_tied(execution)) continue;
    append_number(column_, i - last_position);
    append_number(column_, zigzag(std::int64_t{execution} - last_number));
    append_number(column_, execution - context_->executions.ended_before(execution));
    last_position = i;
    last_number = execution;
  }
}
