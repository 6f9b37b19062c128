#include "traceml/timestamp_digits.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(timestamp_digits, are_those_of_the_number_whatever_came_before) {
  constexpr std::uint64_t range = 100'000'000;
  timestamp_digits digits;
  for (const std::uint64_t timestamp :
       {std::uint64_t{0}, std::uint64_t{7}, range - 1, range, range + 1, 2 * range - 1, 2 * range,
        range * range, range * range + 42, range - 1, UINT64_MAX, std::uint64_t{3}, UINT64_MAX - range,
        UINT64_MAX / range * range - 1, std::uint64_t{812'345'682'028}, std::uint64_t{812'400'000'000},
        std::uint64_t{812'399'999'999}}) {
    std::array<char, timestamp_digits::room_bytes> text{};
    EXPECT_EQ(std::string(text.data(), digits.append(text.data(), timestamp)), std::to_string(timestamp));
  }
}

}  // namespace
