#include "processor/event_list.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>
#include <vector>

namespace {

auto all_of(const timeline_event& event) {
  return std::tie(event.kind, event.time, event.producer, event.first, event.second, event.edge, event.domain,
                  event.name, event.processor, event.text);
}

/// Events of all kinds with what their kinds keep, half of them ends of tasks; times that jump.
std::vector<timeline_event> some_events(std::size_t count) {
  static constexpr const char* texts[] = {"one", "two"};
  std::mt19937_64 random(count);
  std::vector<timeline_event> events(count);
  std::uint64_t time = 0;
  for (timeline_event& event : events) {
    using enum tml_event_t;
    const auto number = [&random] { return static_cast<std::uint32_t>(random()); };
    event.kind = random() % 2 == 0 ? task_ended : static_cast<tml_event_t>(random() % 11);
    event.time = time = random() % 10 == 0 ? random() : time + random() % 100;
    event.producer = static_cast<std::int32_t>(random() % 1000);
    const bool is_begin =
        event.kind == task_begun || event.kind == implicit_task_begun || event.kind == explicit_task_begun;
    const bool is_of_region = event.kind == region_begun || event.kind == region_ended;
    if (event.kind == edge_made || event.kind == edge_removed) event.edge = number();
    if (event.kind == user_event) event.text = texts[random() % 2];
    if (is_begin || is_of_region || event.kind == graph_created || event.kind == node_created) {
      event.first = number();
    }
    if (is_begin || is_of_region) event.second = number();
    if (is_begin || event.kind == node_created) event.name = random();
    if (is_begin) event.domain = number(), event.processor = random();
  }
  return events;
}

TEST(event_list, gives_back_what_was_put_in) {
  constexpr std::size_t counts[] = {0, 1, 2, 100'000};  // the last one takes several blocks
  for (const std::size_t count : counts) {
    SCOPED_TRACE(count);
    const std::vector<timeline_event> events = some_events(count);
    event_list list;
    for (const timeline_event& event : events) list.append(event);
    event_list::reader reader(list);
    timeline_event read;
    for (const timeline_event& event : events) {
      ASSERT_TRUE(reader.next(read));
      ASSERT_EQ(all_of(read), all_of(event));
    }
    EXPECT_FALSE(reader.next(read));
    EXPECT_FALSE(reader.next(read));
  }
}

}  // namespace
