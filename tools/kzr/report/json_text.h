#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "analysis/tick_sum.h"

/// The greatest whole number up to which JavaScript tells all from each other.
constexpr std::uint64_t greatest_exact_ticks = std::uint64_t{1} << 53;

/// Writes JSON that is too large for a tree of values, as the page has it: ticks that JavaScript has no
/// number for are strings of digits.
class json_text {
 public:
  /// Adds brackets, colons or whatever else stands between values.
  json_text& raw(std::string_view text) {
    text_ += text;
    return *this;
  }
  /// Begins a field of an object with `before` in front of it; its value comes next.
  json_text& field(std::string_view before, std::string_view name) {
    return raw(before).raw("\"").raw(name).raw("\":");
  }
  /// Begins a list that is the value of `name`, with `before` in front of that.
  json_text& list(std::string_view before, std::string_view name) { return field(before, name).raw("["); }
  /// Ends a list.
  json_text& end() { return raw("]"); }

  // Elements of a list, or the value of a field.
  json_text& add(std::uint64_t number);
  json_text& add_signed(std::int64_t number);
  json_text& add_ticks(tick_sum ticks);
  json_text& add_thousandths(tick_sum number);
  /// Any bytes; what is no UTF-8 becomes U+FFFD.
  json_text& add_text(std::string_view text);
  json_text& add_null();

  [[nodiscard]] std::string& text() { return text_; }

 private:
  void begin_element() {
    if (text_.back() != '[' && text_.back() != ':') text_ += ',';
  }

  std::string text_;
};
