#include "kzr/report/lane_blocks.h"

#include <algorithm>
#include <array>

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
  return static_cast<std::uint64_t>(number) << 1U ^ static_cast<std::uint64_t>(number >> 63U);
}

}  // namespace

lane_blocks::block lane_blocks::append_next(std::string& bytes) {
  const execution_table& executions = context_->executions;
  const auto of_block = by_begin_.subspan(next_, std::min(most_in_block, by_begin_.size() - next_));
  leave_for(of_block.front());
  append_open(bytes);
  block encoded = {.count = static_cast<std::uint32_t>(of_block.size()), .first = begin_of(of_block.front())};
  std::uint64_t begin = encoded.first;
  for (const std::uint32_t execution : of_block) {
    const std::uint64_t next = begin_of(execution);
    append_number(bytes, next - begin);
    begin = next;
  }
  for (const std::uint32_t execution : of_block) {
    const std::uint64_t ticks = executions.duration_of(execution);
    append_number(bytes, ticks);
    encoded.last = std::max(encoded.last, begin_of(execution) + ticks);
    encoded.longest = std::max(encoded.longest, ticks);
  }
  for (const std::uint32_t execution : of_block) {
    append_number(bytes, context_->nodes.number_of(executions.node_of(execution)));
  }
  append_levels(of_block, bytes);
  append_ties(of_block, bytes);
  next_ += of_block.size();
  return encoded;
}

/// Drops what ended before `execution` began.
void lane_blocks::leave_for(std::uint32_t execution) {
  const std::uint32_t parent = context_->executions.parent_of(execution);
  while (!open_.empty() && open_.back().execution != parent) open_.pop_back();
}

void lane_blocks::append_open(std::string& bytes) const {
  append_number(bytes, open_.size());
  for (std::size_t i = open_.size() - std::min(open_.size(), most_named); i < open_.size(); ++i) {
    append_number(bytes, open_[i].position);
  }
}

void lane_blocks::append_levels(std::span<const std::uint32_t> executions, std::string& bytes) {
  auto depth = static_cast<std::int64_t>(open_.size());
  auto position = static_cast<std::uint32_t>(next_);
  for (const std::uint32_t execution : executions) {
    leave_for(execution);
    const auto next = static_cast<std::int64_t>(open_.size());
    append_number(bytes, zigzag(next - depth) * 4 +
                             static_cast<std::uint64_t>(context_->executions.kind_of(execution)));
    depth = next;
    open_.push_back({execution, position++});
  }
}

void lane_blocks::append_ties(std::span<const std::uint32_t> executions, std::string& bytes) const {
  const auto is_tied = [this](std::uint32_t execution) { return context_->is_tied[execution]; };
  append_number(bytes, static_cast<std::uint64_t>(std::ranges::count_if(executions, is_tied)));
  std::size_t last_position = 0;
  std::int64_t last_number = 0;
  for (std::size_t i = 0; i < executions.size(); ++i) {
    const std::uint32_t execution = executions[i];
    if (!is_tied(execution)) continue;
    append_number(bytes, i - last_position);
    append_number(bytes, zigzag(std::int64_t{execution} - last_number));
    append_number(bytes, execution - context_->executions.ended_before(execution));
    last_position = i;
    last_number = execution;
  }
}
