#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// "00" to "99", one behind the other.
constexpr std::array<char, 200> make_decimal_pairs() {
  std::array<char, 200> digits{};
  for (std::size_t i = 0; i < digits.size(); ++i) {
    digits[i] = static_cast<char>('0' + (i % 2 == 0 ? i / 20 : i / 2 % 10));
  }
  return digits;
}
inline constexpr std::array<char, 200> decimal_pairs = make_decimal_pairs();

/// Writes timestamps as decimal text. Those of neighbouring lines differ in their last digits only, so the
/// upper digits are kept as text and the last eight made anew.
class timestamp_digits {
 public:
  /// Room that append() needs.
  static constexpr std::size_t room_bytes = 24;

  /// Writes `timestamp` to `to` and returns where the text ends. May touch `room_bytes` bytes from `to` on.
  char* append(char* to, std::uint64_t timestamp) {
    std::uint64_t lower = timestamp - base_;
    if (lower >= lower_range) {
      // The distance from the last base goes over the end of the numbers and would take in small timestamps.
      if (timestamp < lower_range || timestamp >= last_base) {
        return std::to_chars(to, to + room_bytes, timestamp).ptr;
      }
      keep_upper(timestamp);
      lower = timestamp - base_;
    }
    std::memcpy(to, upper_.data(), upper_.size());
    to += upper_size_;
    const auto number = static_cast<std::uint32_t>(lower);
    append_four(to, number / 10'000);
    append_four(to + 4, number % 10'000);
    return to + 8;
  }

 private:
  static constexpr std::uint64_t lower_range = 100'000'000;
  static constexpr std::uint64_t last_base = UINT64_MAX / lower_range * lower_range;

  static void append_four(char* to, std::uint32_t number) {
    std::memcpy(to, &decimal_pairs[number / 100 * 2], 2);
    std::memcpy(to + 2, &decimal_pairs[number % 100 * 2], 2);
  }

  void keep_upper(std::uint64_t timestamp) {
    base_ = timestamp / lower_range * lower_range;
    const char* const end =
        std::to_chars(upper_.data(), upper_.data() + upper_.size(), timestamp / lower_range).ptr;
    upper_size_ = static_cast<std::size_t>(end - upper_.data());
  }

  // The upper digits and the timestamp that has zeros behind them; never less than one digit.
  std::array<char, 16> upper_{'1'};
  std::size_t upper_size_ = 1;
  std::uint64_t base_ = lower_range;
};
