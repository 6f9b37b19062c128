#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

/// A text that is put together from many short pieces: like `std::string`, but appending is a few
/// instructions at the place of the call. What is appended must not be a part of the buffer.
class text_buffer {
 public:
  text_buffer() = default;
  text_buffer(const text_buffer&) = delete;
  text_buffer& operator=(const text_buffer&) = delete;

  text_buffer& operator+=(std::string_view piece) {
    std::memcpy(room_for(piece.size()), piece.data(), piece.size());
    size_ += piece.size();
    return *this;
  }
  text_buffer& operator+=(char letter) {
    *room_for(1) = letter;
    ++size_;
    return *this;
  }
  /// Appends `number` in plain decimal.
  template <std::integral Number>
  void append_number(Number number) {
    constexpr std::size_t most_digits = 20;
    char* const start = room_for(most_digits);
    size_ += static_cast<std::size_t>(std::to_chars(start, start + most_digits, number).ptr - start);
  }

  /// Appends `size_bytes` bytes for the caller to fill and returns where they begin.
  [[nodiscard]] char* extend(std::size_t size_bytes) {
    char* const start = room_for(size_bytes);
    size_ += size_bytes;
    return start;
  }

  void clear() { size_ = 0; }
  [[nodiscard]] std::size_t size() const { return size_; }
  /// The text; valid until the buffer changes.
  [[nodiscard]] std::string_view view() const { return {bytes_.get(), size_}; }
  operator std::string_view() const { return view(); }

 private:
  char* room_for(std::size_t size_bytes) {
    if (room_ - size_ < size_bytes) [[unlikely]]
      grow(size_bytes);
    return bytes_.get() + size_;
  }
  void grow(std::size_t size_bytes);

  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0;
  std::size_t room_ = 0;
};
