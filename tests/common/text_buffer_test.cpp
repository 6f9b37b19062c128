#include "common/text_buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

TEST(text_buffer, appends_numbers_in_plain_decimal) {
  text_buffer text;
  const auto appended = [&text](auto number) {
    text.clear();
    text.append_number(number);
    return std::string(text.view());
  };
  // Both sides of every power of ten, where the number of digits changes.
  std::string digits = "1";
  for (std::uint64_t power = 1; power < 1'000'000'000'000; power *= 10, digits += '0') {
    EXPECT_EQ(appended(power), digits);
    EXPECT_EQ(appended(power * 2 - 1), power == 1 ? "1" : "1" + std::string(digits.size() - 1, '9'));
    EXPECT_EQ(appended(power - 1), power == 1 ? "0" : std::string(digits.size() - 1, '9'));
  }
  EXPECT_EQ(appended(90'807'060u), "90807060");
  EXPECT_EQ(appended(10'200'304), "10200304");
  EXPECT_EQ(appended(-5), "-5");
  EXPECT_EQ(appended(std::numeric_limits<int>::min()), "-2147483648");
  EXPECT_EQ(appended(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(text_buffer, keeps_pieces_of_every_length_while_it_grows) {
  const std::string letters(1000, 'x');
  text_buffer text;
  std::string expected;
  for (std::size_t length = 0; length < 100; ++length) {
    const std::string piece = letters.substr(0, length) + std::to_string(length);
    text += std::string_view(piece).substr(length / 2);
    text += ' ';
    text += "/>";
    expected += piece.substr(length / 2) + " />";
  }
  EXPECT_EQ(text.view(), expected);
  letters.copy(text.extend(600), 600);
  EXPECT_EQ(text.view(), expected + letters.substr(0, 600));
}

}  // namespace
