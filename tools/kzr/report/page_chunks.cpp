#include "kzr/report/page_chunks.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <memory>
#include <numeric>
#include <utility>

#include "analysis/tied_executions.h"
#include "analysis/time_pyramid.h"
#include "kzr/report/json_text.h"
#include "kzr/report/packed_part.h"
#include "kzr/report/page_nodes.h"
#include "kzr/report/run_report.h"

namespace {

/// A chunk ends with the block that makes it so long, before it is packed.
constexpr std::uint64_t most_bytes = std::uint64_t{3} << 19;
constexpr std::uint64_t least_bytes = std::uint64_t{32} << 10;
/// Where not all chunks fit, about so many do.
constexpr std::uint64_t chunks_of_part = 32;
/// An execution mostly takes some bytes less, packed and wrapped.
constexpr std::uint64_t usual_bytes = 7;

std::uint64_t bytes_of_chunk(std::uint64_t executions, std::uint64_t max_bytes) {
  if (executions * usual_bytes < max_bytes) return most_bytes;
  return std::clamp(max_bytes / chunks_of_part, least_bytes, most_bytes);
}

}  // namespace

page_chunks::page_chunks(const run_report& report, const begin_order& order, const page_nodes& nodes,
                         const pyramid_plan& plan, std::uint64_t max_bytes, const progress& tell)
    : lanes_(plan.threads.size()) {
  const std::vector<bool> is_tied = find_tied_executions(report.executions, order);
  const lane_context context = {report.executions, nodes, is_tied, plan.origin};
  std::vector<lane_blocks> lanes;
  /// The time at which a lane goes on, and its number, least first.
  std::vector<std::pair<std::uint64_t, std::size_t>> next;
  for (std::size_t lane = 0; lane < lanes_.size(); ++lane) {
    lanes.emplace_back(context, order.of(plan.threads[lane]));
    if (lanes.back().has_next()) next.emplace_back(lanes.back().next_begin(), lane);
  }
  std::ranges::make_heap(next, std::greater{});
  const std::uint64_t most = bytes_of_chunk(report.executions.size(), max_bytes);
  std::unique_ptr<packed_part> open;
  while (!next.empty()) {
    std::ranges::pop_heap(next, std::greater{});
    const std::size_t lane = next.back().second;
    next.pop_back();
    if (!open) {
      open = std::make_unique<packed_part>();
      chunks_.emplace_back();
    }
    const std::size_t offset = open->size();
    const lane_blocks::block added = lanes[lane].append_next(*open);
    lanes_[lane].push_back({added, chunks_.size() - 1, offset});
    chunks_.back().executions += added.count;
    chunks_.back().longest = std::max(chunks_.back().longest, added.longest);
    if (open->size() >= most) close_chunk(open, tell);
    if (!lanes[lane].has_next()) continue;
    next.emplace_back(lanes[lane].next_begin(), lane);
    std::ranges::push_heap(next, std::greater{});
  }
  if (open) close_chunk(open, tell);
  number_kept();
}

void page_chunks::close_chunk(std::unique_ptr<packed_part>& open, const progress& tell) {
  chunks_.back().packed = open->finish();
  open.reset();
  tell(chunks_.back().executions);
}

std::uint64_t page_chunks::size_bytes() const {
  std::uint64_t sum = 0;
  for (const chunk& each : chunks_) sum += wrapped_size(each.packed.size());
  return sum;
}

void page_chunks::fit_into(std::uint64_t bytes) {
  std::uint64_t left = bytes;
  const auto keep = [&left](chunk& each, std::uint64_t limit) {
    const std::uint64_t size = wrapped_size(each.packed.size());
    if (each.is_kept || size > limit) return;
    each.is_kept = true;
    left -= size;
  };
  for (chunk& each : chunks_) each.is_kept = false;

  std::vector<std::size_t> by_longest(chunks_.size());
  std::iota(by_longest.begin(), by_longest.end(), std::size_t{0});
  std::ranges::stable_sort(by_longest, std::greater{}, [this](std::size_t i) { return chunks_[i].longest; });
  const std::uint64_t for_others = bytes - bytes / 4;
  for (const std::size_t i : by_longest) {
    if (left > for_others) keep(chunks_[i], left - for_others);
  }
  // Every second chunk of half of them, of a quarter of them, ...: those of each round lie evenly.
  for (std::size_t step = std::bit_ceil(chunks_.size() + 1); step > 0; step /= 2) {
    for (std::size_t i = step; i <= chunks_.size(); i += 2 * step) keep(chunks_[i - 1], left);
  }
  number_kept();
}

void page_chunks::number_kept() {
  std::size_t next = 0;
  detailed_ = 0;
  for (chunk& each : chunks_) {
    if (!each.is_kept) continue;
    each.number = next++;
    detailed_ += each.executions;
  }
}

bool page_chunks::holds(std::size_t lane, std::size_t position) const {
  // All blocks but the last one of a lane are equally long.
  const std::vector<block>& blocks = lanes_[lane];
  return chunks_[blocks[position / blocks.front().count].chunk].is_kept;
}

std::string page_chunks::make_index() const {
  json_text json;
  json.raw("{\"lanes\":[");
  for (const std::vector<block>& blocks : lanes_) {
    const auto column = [&](std::string_view before, const char* name, auto add) {
      json.list(before, name);
      for (const block& each : blocks) add(each);
      json.end();
    };
    column(&blocks == &lanes_.front() ? "{" : ",{", "count",
           [&](const block& each) { json.add(each.count); });
    column(",", "first", [&](const block& each) { json.add_ticks(each.first); });
    column(",", "last", [&](const block& each) { json.add_ticks(each.last); });
    column(",", "chunk", [&](const block& each) {
      const chunk& its = chunks_[each.chunk];
      json.add_signed(its.is_kept ? static_cast<std::int64_t>(its.number) : -1);
    });
    column(",", "offset", [&](const block& each) { json.add(each.offset); });
    column(",", "rows", [&](const block& each) { json.add(each.rows); });
    json.raw("}");
  }
  return std::move(json.raw("]}").text());
}

std::vector<std::string> page_chunks::take_kept() {
  std::vector<std::string> kept;
  for (chunk& each : chunks_) {
    if (each.is_kept) kept.push_back(std::move(each.packed));
  }
  return kept;
}

std::uint64_t wrapped_size(std::uint64_t packed_bytes) {
  constexpr std::uint64_t element = 100;
  return (packed_bytes + 2) / 3 * 4 + element;
}
