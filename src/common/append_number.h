#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <string>

/// Appends `number` to `text` in plain decimal.
template <std::integral Number>
void append_number(std::string& text, Number number) {
  std::array<char, 24> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  text.append(digits.data(), result.ptr);
}
