#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// What a timeline shows besides executions: its lines' times and threads, user events and regions. Filled
/// line by line, as the timeline has them, then, after one call of close(), read. All times are in ticks.
class timeline_marks {
 public:
  struct user_event {
    std::uint64_t time;
    int thread;
    std::uint32_t text;          ///< see text()
    std::uint32_t lines_before;  ///< begins and ends of executions on its thread in front of it
  };
  /// From a begin to the end of the same node or graph, on any thread. No end is before its begin.
  struct region {
    std::uint64_t begin;
    std::uint64_t end;
    // Places among the lines that begin or end a region.
    std::uint32_t begin_line;
    std::uint32_t end_line;
    std::uint32_t node;
    int thread;  ///< of the begin
  };

  /// Any line of the timeline.
  void add_line(std::uint64_t time, int thread);

  void add_user_event(std::uint64_t time, int thread, std::string_view text, std::uint32_t lines_before);
  void begin_region(std::uint64_t time, int thread, std::uint32_t node);
  /// Ends the region of `node` that began last and did not end yet, where there is one.
  void end_region(std::uint64_t time, std::uint32_t node);

  /// Ends the regions that are open, at the last time of the timeline.
  void close();

  [[nodiscard]] bool has_lines() const { return first_time_ <= last_time_; }
  /// The least and the greatest time of any line; there is one.
  [[nodiscard]] std::uint64_t first_time() const { return first_time_; }
  [[nodiscard]] std::uint64_t last_time() const { return last_time_; }
  [[nodiscard]] bool has_lines_of(int thread) const {
    return static_cast<std::size_t>(thread) < has_lines_of_.size() &&
           has_lines_of_[static_cast<std::size_t>(thread)];
  }
  /// All threads with lines are below.
  [[nodiscard]] int thread_count() const { return static_cast<int>(has_lines_of_.size()); }

  // In the order of the lines, regions in that of their begins.
  [[nodiscard]] const std::vector<user_event>& user_events() const { return user_events_; }
  [[nodiscard]] const std::vector<region>& regions() const { return regions_; }
  /// How many different texts user events have.
  [[nodiscard]] std::uint32_t text_count() const { return static_cast<std::uint32_t>(texts_.size()); }
  /// The bytes of a user event as the trace has them.
  [[nodiscard]] const std::string& text(std::uint32_t number) const { return *texts_[number]; }

 private:
  std::uint64_t first_time_ = UINT64_MAX;
  std::uint64_t last_time_ = 0;
  std::vector<bool> has_lines_of_;
  std::vector<user_event> user_events_;
  std::unordered_map<std::string, std::uint32_t> text_numbers_;
  std::vector<const std::string*> texts_;  ///< by number, in `text_numbers_`
  std::vector<region> regions_;
  std::uint32_t region_lines_ = 0;
  std::unordered_map<std::uint32_t, std::vector<std::size_t>> open_regions_;  ///< by node, in `regions_`
};
