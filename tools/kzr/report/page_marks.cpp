#include "kzr/report/page_marks.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>
#include <utility>
#include <vector>

#include "analysis/time_pyramid.h"
#include "kzr/report/json_text.h"
#include "kzr/report/page_nodes.h"
#include "kzr/report/run_report.h"

namespace {

/// The texts of user events and names of regions, each once.
class text_list {
 public:
  explicit text_list(const timeline_marks& marks) : marks_(marks) {}

  std::size_t find_or_add(std::uint32_t text) { return add(by_text_, text, marks_.text(text)); }
  std::size_t find_or_add(std::uint32_t node, const std::string& name) { return add(by_node_, node, name); }
  void write(json_text& json) const {
    for (const std::string& text : texts_) json.add_text(text);
  }

 private:
  using numbers = std::unordered_map<std::uint32_t, std::size_t>;

  std::size_t add(numbers& known, std::uint32_t key, const std::string& text) {
    const auto [entry, is_new] = known.try_emplace(key, texts_.size());
    if (is_new) texts_.push_back(text);
    return entry->second;
  }

  const timeline_marks& marks_;
  numbers by_text_;
  numbers by_node_;
  std::vector<std::string> texts_;
};

/// How many threads were busy on average while a region ran; null where the report's range does not hold it.
void add_busy_threads(json_text& json, const run_report& report, std::size_t number) {
  const timeline_marks::region& region = report.marks.regions()[number];
  const std::uint64_t ticks = region.end - region.begin;
  if (!report.range.holds(region.begin, region.end)) {
    json.add_null();
  } else if (ticks == 0) {
    json.add(0);
  } else {
    json.add_thousandths(divide_in_thousandths(report.region_busy_ticks[number], ticks));
  }
}

}  // namespace

std::string make_page_marks(const run_report& report, const page_nodes& nodes, const pyramid_plan& plan) {
  std::vector<timeline_marks::user_event> events = report.marks.user_events();
  std::ranges::stable_sort(events, {}, &timeline_marks::user_event::time);
  const std::vector<timeline_marks::region>& regions = report.marks.regions();
  const auto lane_of = [&plan](int thread) {
    return static_cast<std::size_t>(std::ranges::lower_bound(plan.threads, thread) - plan.threads.begin());
  };
  text_list texts(report.marks);
  json_text json;
  std::uint64_t last = plan.origin;
  json.list("{\"user_events\":{", "time");
  for (const auto& event : events) json.add_ticks(event.time - std::exchange(last, event.time));
  json.end().list(",", "lane");
  for (const auto& event : events) json.add(lane_of(event.thread));
  json.end().list(",", "text");
  for (const auto& event : events) json.add(texts.find_or_add(event.text));
  json.end().list("},\"regions\":{", "node");
  for (const auto& region : regions) {
    json.add_signed(nodes.is_listed(region.node) ? std::int64_t{nodes.number_of(region.node)} : -1);
  }
  json.end().list(",", "text");
  for (const auto& region : regions) json.add(texts.find_or_add(region.node, report.name_of(region.node)));
  json.end().list(",", "lane");
  for (const auto& region : regions) json.add(lane_of(region.thread));
  json.end().list(",", "begin");
  for (const auto& region : regions) json.add_ticks(region.begin - plan.origin);
  json.end().list(",", "end");
  for (const auto& region : regions) json.add_ticks(region.end - plan.origin);
  json.end().list(",", "busy");
  for (std::size_t i = 0; i < regions.size(); ++i) add_busy_threads(json, report, i);
  json.end().list("},", "texts");
  texts.write(json);
  return std::move(json.end().raw("}").text());
}
