#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>

/// A text that is put together from many short pieces.
class text_buffer {
 public:
  text_buffer& operator+=(std::string_view piece) {
    text_.append(piece);
    return *this;
  }
  text_buffer& operator+=(char letter) {
    text_.push_back(letter);
    return *this;
  }
  /// Appends `number` in plain decimal.
  template <std::integral Number>
  void append_number(Number number) {
    std::array<char, 20> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text_.append(digits.data(), result.ptr);
  }
  /// Appends `size_bytes` bytes for the caller to fill and returns where they begin.
  [[nodiscard]] char* extend(std::size_t size_bytes) {
    text_.resize(text_.size() + size_bytes);
    return text_.data() + text_.size() - size_bytes;
  }

  void clear() { text_.clear(); }
  [[nodiscard]] std::size_t size() const { return text_.size(); }
  /// The text; valid until the buffer changes.
  [[nodiscard]] std::string_view view() const { return text_; }
  operator std::string_view() const { return text_; }

 private:
  std::string text_;
};
