#pragma once

#include <bit>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

/// A text that is put together from many short pieces. Like `std::string`, but appending is a few
/// instructions at the place of the call; the bytes end in no zero. What is appended must not be a part of
/// the buffer.
class text_buffer {
 public:
  text_buffer() = default;
  text_buffer(const text_buffer&) = delete;
  text_buffer& operator=(const text_buffer&) = delete;

  /// Appends a literal without its zero.
  template <std::size_t Size>
  text_buffer& operator+=(const char (&literal)[Size]) {
    std::memcpy(room_for(Size - 1), literal, Size - 1);
    end_ += Size - 1;
    return *this;
  }
  text_buffer& operator+=(std::string_view piece) {
    char* const start = room_for(piece.size());
    if (piece.size() > 16) {
      std::memcpy(start, piece.data(), piece.size());
    } else {
      copy_short(start, piece.data(), piece.size());
    }
    end_ += piece.size();
    return *this;
  }
  text_buffer& operator+=(char letter) {
    *room_for(1) = letter;
    ++end_;
    return *this;
  }
  /// Appends `number` in plain decimal.
  template <std::integral Number>
  void append_number(Number number) {
    constexpr std::size_t most_digits = 20;
    char* const start = room_for(most_digits);
    if (number >= 0 && number <= 9) {
      *start = static_cast<char>('0' + number);
      end_ = start + 1;
    } else if (std::endian::native == std::endian::little && std::in_range<std::uint32_t>(number) &&
               static_cast<std::uint32_t>(number) < 100'000'000) {
      end_ = append_8_digits(start, static_cast<std::uint32_t>(number));
    } else {
      end_ = std::to_chars(start, start + most_digits, number).ptr;
    }
  }
  /// Appends the `size` bytes from `begin` on once more.
  void append_again(std::size_t begin, std::size_t size) {
    char* const start = room_for(size);
    std::memcpy(start, bytes_.get() + begin, size);
    end_ += size;
  }

  /// Replaces everything by the bytes from `begin` to `end`.
  void assign(const char* begin, const char* end) {
    clear();
    *this += std::string_view(begin, end);
  }
  void clear() { end_ = bytes_.get(); }
  [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(end_ - bytes_.get()); }
  /// The text; valid until the buffer changes.
  [[nodiscard]] std::string_view view() const { return {bytes_.get(), size()}; }
  operator std::string_view() const { return view(); }

 private:
  /// Copies up to 16 bytes, as most pieces have, in two parts that may overlap.
  static void copy_short(char* to, const char* from, std::size_t size_bytes) {
    const auto copy_ends = [&](auto first, auto last) {
      std::memcpy(&first, from, sizeof first);
      std::memcpy(&last, from + size_bytes - sizeof last, sizeof last);
      std::memcpy(to, &first, sizeof first);
      std::memcpy(to + size_bytes - sizeof last, &last, sizeof last);
    };
    if (size_bytes >= 8) {
      copy_ends(std::uint64_t{}, std::uint64_t{});
    } else if (size_bytes >= 4) {
      copy_ends(std::uint32_t{}, std::uint32_t{});
    } else {
      for (std::size_t i = 0; i < size_bytes; ++i) to[i] = from[i];
    }
  }

  /// Writes a number from 1 to 99,999,999 and up to seven bytes behind it, all digits at once: halves of the
  /// number in halves of a word, then their halves, then the digits, the first one in the lowest byte.
  static char* append_8_digits(char* to, std::uint32_t number) {
    const std::uint64_t fours = number / 10'000 | std::uint64_t{number % 10'000} << 32;
    const std::uint64_t hundreds = fours * 10'486 >> 20 & 0x7f'0000'007f;
    const std::uint64_t twos = hundreds | (fours - hundreds * 100) << 16;
    const std::uint64_t tens = twos * 103 >> 10 & 0x000f'000f'000f'000f;
    const std::uint64_t digits = tens | (twos - tens * 10) << 8;
    const auto leading_zeros = static_cast<std::size_t>(std::countr_zero(digits)) / 8;
    const std::uint64_t text = (digits | 0x3030'3030'3030'3030) >> leading_zeros * 8;
    std::memcpy(to, &text, sizeof text);
    return to + (sizeof text - leading_zeros);
  }

  char* room_for(std::size_t size_bytes) {
    if (static_cast<std::size_t>(room_end_ - end_) < size_bytes) [[unlikely]]
      grow(size_bytes);
    return end_;
  }
  void grow(std::size_t size_bytes);

  std::unique_ptr<char[]> bytes_;
  char* end_ = nullptr;
  char* room_end_ = nullptr;
};

/// Appends `number` to `text` in plain decimal.
template <std::integral Number>
void append_number(text_buffer& text, Number number) {
  text.append_number(number);
}
