#include "analysis/tied_executions.h"

#include <algorithm>

namespace {

/// The lines of all threads by time. The heap's least element is replaced in place, since the next line is
/// often one of the same thread.
class line_merge {
 public:
  line_merge(const execution_table& executions, const begin_order& order) {
    for (int thread = 0; thread < executions.thread_count(); ++thread) {
      lane_walk walk(executions, order.of(thread));
      if (walk.next()) lanes_.push_back(walk);
    }
    for (std::size_t lane = 0; lane < lanes_.size(); ++lane) heap_.push_back({lanes_[lane].time(), lane});
    std::ranges::make_heap(heap_, later);
  }

  [[nodiscard]] bool has_line() const { return !heap_.empty(); }
  [[nodiscard]] std::uint64_t time() const { return heap_.front().time; }
  [[nodiscard]] std::size_t lane() const { return heap_.front().lane; }
  [[nodiscard]] std::uint32_t execution() const { return lanes_[lane()].execution(); }

  void next() {
    lane_walk& walk = lanes_[lane()];
    if (walk.next()) {
      heap_.front().time = walk.time();
    } else {
      heap_.front() = heap_.back();
      heap_.pop_back();
    }
    sink();
  }

 private:
  struct line {
    std::uint64_t time;
    std::size_t lane;
  };
  static bool later(const line& a, const line& b) { return a.time > b.time; }

  void sink() {
    for (std::size_t at = 0;;) {
      std::size_t least = 2 * at + 1;
      if (least >= heap_.size()) return;
      if (least + 1 < heap_.size() && later(heap_[least], heap_[least + 1])) ++least;
      if (!later(heap_[at], heap_[least])) return;
      std::swap(heap_[at], heap_[least]);
      at = least;
    }
  }

  std::vector<lane_walk> lanes_;
  std::vector<line> heap_;
};

}  // namespace

std::vector<bool> find_tied_executions(const execution_table& executions, const begin_order& order) {
  std::vector<bool> is_tied(executions.size());
  std::vector<std::uint32_t> at_this_time;
  for (line_merge lines(executions, order); lines.has_line();) {
    const std::uint64_t time = lines.time();
    const std::size_t first_lane = lines.lane();
    bool has_other_lane = false;
    at_this_time.clear();
    for (; lines.has_line() && lines.time() == time; lines.next()) {
      at_this_time.push_back(lines.execution());
      has_other_lane |= lines.lane() != first_lane;
    }
    if (!has_other_lane) continue;
    for (const std::uint32_t execution : at_this_time) is_tied[execution] = true;
  }
  return is_tied;
}
