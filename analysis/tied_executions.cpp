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

  [[nodiscard]] bool is_begin() const { return lanes_[lane()].innermost() == execution(); }

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

/// What happens on all threads at one time.
class moment {
 public:
  explicit moment(const execution_table& executions) : executions_(executions) {}

  void clear() {
    lines_.clear();
    lanes_ = {};
    end_lanes_ = {};
    has_empty_ = false;
  }
  void add(std::size_t lane, std::uint32_t execution, bool is_begin) {
    lines_.push_back({execution, is_begin});
    lanes_.add(lane);
    if (!is_begin) end_lanes_.add(lane);
    has_empty_ |= is_empty(execution);
  }
  void mark_ties(std::vector<bool>& is_tied) const {
    const bool has_begin_ties = has_empty_ && lanes_.are_several;
    if (!end_lanes_.are_several && !has_begin_ties) return;
    for (const auto& [execution, is_begin] : lines_) {
      const bool is_begin_tie = has_begin_ties && (is_begin || is_empty(execution));
      const bool is_end_tie = end_lanes_.are_several && !is_begin;
      if (is_begin_tie || is_end_tie) is_tied[execution] = true;
    }
  }

 private:
  struct line {
    std::uint32_t execution;
    bool is_begin;
  };
  /// Whether lines are on one lane or on several.
  struct lane_set {
    std::size_t first = SIZE_MAX;
    bool are_several = false;
    void add(std::size_t lane) {
      if (first == SIZE_MAX) first = lane;
      are_several |= lane != first;
    }
  };

  [[nodiscard]] bool is_empty(std::uint32_t execution) const {
    return executions_.duration_of(execution) == 0;
  }

  const execution_table& executions_;
  std::vector<line> lines_;
  lane_set lanes_;
  lane_set end_lanes_;
  bool has_empty_ = false;
};

}  // namespace

std::vector<bool> find_tied_executions(const execution_table& executions, const begin_order& order) {
  std::vector<bool> is_tied(executions.size());
  moment now(executions);
  for (line_merge lines(executions, order); lines.has_line();) {
    const std::uint64_t time = lines.time();
    now.clear();
    for (; lines.has_line() && lines.time() == time; lines.next()) {
      now.add(lines.lane(), lines.execution(), lines.is_begin());
    }
    now.mark_ties(is_tied);
  }
  return is_tied;
}
