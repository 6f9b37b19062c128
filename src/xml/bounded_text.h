#pragma once

#include <algorithm>
#include <cstddef>

namespace xml {

/// Collects characters in a borrowed buffer, counts those that do not fit and drops them.
class bounded_text {
 public:
  /// Keeps up to `room` characters in `buffer`.
  bounded_text(char* buffer, int room) : free_(buffer), room_end_(buffer + std::max(room, 0)) {}

  /// Takes the characters from `from` to `to` in, as far as they fit, up to the first that `is_stop` accepts;
  /// returns where it is, or `to`.
  template <typename predicate>
  const signed char* take_until(const signed char* from, const signed char* to, predicate is_stop) {
    // Most runs are a few characters long, so they are copied while they are looked at.
    const signed char* const full = from + std::min<std::ptrdiff_t>(to - from, room_end_ - free_);
    char* free = free_;
    while (from != full && !is_stop(*from)) *free++ = static_cast<char>(*from++);
    free_ = free;
    if (from != full) return from;
    const signed char* const dropped_from = from;
    while (from != to && !is_stop(*from)) ++from;
    dropped_ += static_cast<std::size_t>(from - dropped_from);
    return from;
  }

  /// Ends the text in a buffer of `size_bytes` bytes; one of none gets no terminator.
  void terminate(int size_bytes) {
    if (size_bytes > 0) *free_ = '\0';
  }

  /// How many characters did not fit.
  [[nodiscard]] std::size_t dropped() const { return dropped_; }

 private:
  char* free_;  ///< where the next character goes
  const char* room_end_;
  std::size_t dropped_ = 0;
};

}  // namespace xml
