#include "analysis/timeline_marks.h"

void timeline_marks::add_line(std::uint64_t time, int thread) {
  first_time_ = std::min(first_time_, time);
  last_time_ = std::max(last_time_, time);
  const auto index = static_cast<std::size_t>(thread);
  if (index >= has_lines_of_.size()) has_lines_of_.resize(index + 1);
  has_lines_of_[index] = true;
}

void timeline_marks::add_user_event(std::uint64_t time, int thread, std::string_view text,
                                    std::uint32_t lines_before) {
  const auto next = static_cast<std::uint32_t>(texts_.size());
  const auto [known, is_new] = text_numbers_.try_emplace(std::string(text), next);
  if (is_new) texts_.push_back(&known->first);
  user_events_.push_back(
      {.time = time, .thread = thread, .text = known->second, .lines_before = lines_before});
}

void timeline_marks::begin_region(std::uint64_t time, int thread, std::uint32_t node) {
  open_regions_[node].push_back(regions_.size());
  regions_.push_back({.begin = time,
                      .end = time,
                      .begin_line = region_lines_++,
                      .end_line = UINT32_MAX,
                      .node = node,
                      .thread = thread});
}

void timeline_marks::end_region(std::uint64_t time, std::uint32_t node) {
  const auto open = open_regions_.find(node);
  if (open == open_regions_.end() || open->second.empty()) return;
  region& ended = regions_[open->second.back()];
  open->second.pop_back();
  ended.end = std::max(ended.begin, time);
  ended.end_line = region_lines_++;
}

void timeline_marks::close() {
  for (const auto& [node, open] : open_regions_) {
    for (const std::size_t index : open) regions_[index].end = last_time_;
  }
  open_regions_.clear();
}
