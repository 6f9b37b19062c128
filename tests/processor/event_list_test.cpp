#include "processor/event_list.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>
#include <vector>

namespace {

auto all_of(const timeline_event& event) {
  return std::tuple(event.kind, event.time, event.producer, event.first, event.second, event.first_number,
                    event.second_number);
}

/// Task begins with ends between them: long and short events, times that jump, several blocks.
std::vector<timeline_event> some_events(std::size_t count) {
  std::mt19937_64 random(count);
  std::vector<timeline_event> events(count);
  for (timeline_event& event : events) {
    event.kind = random() % 2 == 0 ? tml_event_t::task_begun : tml_event_t::task_ended;
    event.time = random() % 10 == 0 ? random() : events.front().time + random() % 100;
    event.producer = static_cast<std::int32_t>(random() % 1000);
    if (event.kind == tml_event_t::task_ended) continue;
    event.domain = random() % 3;
    event.first = static_cast<std::uint32_t>(random());
    event.second = static_cast<std::uint32_t>(random());
    event.first_number = random();
    event.second_number = random();
  }
  return events;
}

// Both ways through the list give back what was put in, and the second one shows it in time.
TEST(event_list, gives_events_back_and_shows_them_before) {
  constexpr std::size_t counts[] = {0, 1, 4, 8, 9, 10'000};
  for (const std::size_t count : counts) {
    SCOPED_TRACE(count);
    const std::vector<timeline_event> events = some_events(count);
    event_list list;
    for (const timeline_event& event : events) list.append(event);
    std::size_t visited = 0;
    list.for_each([&](const timeline_event& event) {
      ASSERT_LT(visited, count);
      EXPECT_EQ(all_of(event), all_of(events[visited++]));
    });
    EXPECT_EQ(visited, count);

    visited = 0;
    std::size_t shown_first = 0;
    std::size_t shown_last = 0;
    list.for_each(
        [&](const timeline_event& event) {
          ASSERT_LT(visited, count);
          EXPECT_EQ(all_of(event), all_of(events[visited++]));
        },
        [&](const timeline_event& event, std::size_t steps) {
          std::size_t& shown = steps == event_list::first_steps ? shown_first : shown_last;
          ASSERT_LT(shown, count);
          EXPECT_EQ(all_of(event), all_of(events[shown++]));
          EXPECT_LE(shown, visited + steps);
          EXPECT_GT(shown, visited);
        });
    EXPECT_EQ(visited, count);
    EXPECT_EQ(shown_first, count);
    EXPECT_EQ(shown_last, count);
  }
}

}  // namespace
