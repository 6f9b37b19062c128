#include "analysis/time_pyramid.h"

#include <algorithm>
#include <bit>

#include "analysis/tick_sum.h"

namespace {

/// Of the coarsest level, over all lanes and in one.
constexpr std::uint64_t most_coarse_cells = 8192;
constexpr std::uint64_t most_coarse_buckets = 512;
constexpr std::uint64_t executions_per_cell = 32;
/// Further levels hold no more than what the page reads from the executions themselves.
constexpr std::uint64_t most_buckets = std::uint64_t{1} << 26;

/// Adds up one level of one lane, bucket by bucket.
class level_builder {
 public:
  explicit level_builder(std::uint32_t node_count) : ticks_of_(node_count) {}

  void add(std::uint32_t node, bool is_busy, std::uint64_t ticks) {
    add_node(node, ticks);
    if (is_busy) busy_ticks_ += ticks;
  }
  void add(const level_builder& finer) {
    for (const std::uint32_t node : finer.touched_) add_node(node, finer.ticks_of_[node]);
    busy_ticks_ += finer.busy_ticks_;
  }

  /// Appends the bucket, which is `width` ticks wide, to the lane.
  void finish(std::uint64_t width, time_pyramid::lane& lane) const {
    std::uint32_t longest = time_pyramid::no_node;
    for (const std::uint32_t node : touched_) {
      if (longest == time_pyramid::no_node || ticks_of_[node] > ticks_of_[longest]) longest = node;
      if (node < longest && ticks_of_[node] == ticks_of_[longest]) longest = node;
    }
    lane.node.push_back(longest);
    const tick_sum share = width == 0 ? 0 : (tick_sum{busy_ticks_} * 255 + width - 1) / width;
    lane.busy.push_back(static_cast<std::uint8_t>(share));
  }

  void clear() {
    for (const std::uint32_t node : touched_) ticks_of_[node] = 0;
    touched_.clear();
    busy_ticks_ = 0;
  }

 private:
  void add_node(std::uint32_t node, std::uint64_t ticks) {
    if (ticks_of_[node] == 0) touched_.push_back(node);
    ticks_of_[node] += ticks;
  }

  std::vector<std::uint64_t> ticks_of_;  ///< by node
  std::vector<std::uint32_t> touched_;   ///< nodes with ticks
  std::uint64_t busy_ticks_ = 0;
};

class pyramid_builder {
 public:
  pyramid_builder(const execution_table& executions, const pyramid_plan& plan)
      : executions_(executions), plan_(plan) {
    const std::uint64_t lanes = std::max<std::uint64_t>(plan.threads.size(), 1);
    const auto power_of_two = [&plan](std::uint64_t buckets) {
      return std::bit_floor(std::max<std::uint64_t>(std::min(buckets, plan.span), 1));
    };
    const std::uint64_t coarsest = power_of_two(std::min(most_coarse_cells / lanes, most_coarse_buckets));
    const std::uint64_t finest =
        power_of_two(std::min(executions.size() / executions_per_cell / lanes, most_buckets));
    for (std::uint64_t buckets = coarsest; buckets <= std::max(coarsest, finest); buckets *= 2) {
      pyramid_.levels.push_back({static_cast<std::uint32_t>(buckets), {}});
      builders_.emplace_back(plan.node_count);
    }
  }

  time_pyramid build(const begin_order& order) {
    for (const int thread : plan_.threads) {
      for (time_pyramid::level& level : pyramid_.levels) {
        level.lanes.emplace_back();
        level.lanes.back().busy.reserve(level.buckets);
        level.lanes.back().node.reserve(level.buckets);
      }
      add_lane(lane_walk(executions_, order.of(thread)));
    }
    return std::move(pyramid_);
  }

 private:
  void add_lane(lane_walk walk) {
    bucket_ = 0;
    bucket_end_ = end_of_bucket(pyramid_.levels.size() - 1, 0);
    std::uint64_t time = 0;
    std::uint32_t innermost = execution_table::none;
    while (walk.next()) {
      const std::uint64_t next = walk.time() - plan_.origin;
      add(innermost, time, next);
      time = next;
      innermost = walk.innermost();
    }
    add(execution_table::none, time, plan_.span);
    while (bucket_ < pyramid_.levels.back().buckets) finish_bucket();
  }

  void add(std::uint32_t innermost, std::uint64_t from, std::uint64_t to) {
    while (from < to) {
      while (from >= bucket_end_) finish_bucket();
      const std::uint64_t end = std::min(to, bucket_end_);
      if (innermost != execution_table::none) {
        builders_.back().add(executions_.node_of(innermost),
                             executions_.kind_of(innermost) != execution_kind::barrier, end - from);
      }
      from = end;
    }
  }

  [[nodiscard]] std::uint64_t end_of_bucket(std::size_t level, std::uint64_t bucket) const {
    return static_cast<std::uint64_t>(tick_sum{plan_.span} * (bucket + 1) / pyramid_.levels[level].buckets);
  }

  /// Ends the bucket of the finest level, and of each coarser one that ends there.
  void finish_bucket() {
    std::uint64_t bucket = bucket_++;
    for (std::size_t level = builders_.size(); level-- > 0; bucket /= 2) {
      const std::uint64_t begin = bucket == 0 ? 0 : end_of_bucket(level, bucket - 1);
      builders_[level].finish(end_of_bucket(level, bucket) - begin, pyramid_.levels[level].lanes.back());
      if (level > 0) builders_[level - 1].add(builders_[level]);
      builders_[level].clear();
      if (bucket % 2 == 0) break;
    }
    bucket_end_ = end_of_bucket(builders_.size() - 1, bucket_);
  }

  const execution_table& executions_;
  const pyramid_plan& plan_;
  time_pyramid pyramid_;
  std::vector<level_builder> builders_;  ///< by level
  std::uint64_t bucket_ = 0;             ///< of the finest level
  std::uint64_t bucket_end_ = 0;
};

}  // namespace

time_pyramid build_pyramid(const execution_table& executions, const begin_order& order,
                           const pyramid_plan& plan) {
  return pyramid_builder(executions, plan).build(order);
}
