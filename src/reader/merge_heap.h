#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// A binary heap with the smallest timestamp at the front. Entries with equal timestamps come out in the
/// order in which the heap operations of libstdc++ hand them out, which is part of the program's output; here
/// it does not depend on the library. What every step down compares is known beforehand, so the steps need no
/// branch for the processor to guess, as the library's do.
template <class Value>
class merge_heap {
 public:
  [[nodiscard]] bool empty() const { return entries_.empty(); }

  /// The value with the smallest timestamp; the heap must not be empty.
  [[nodiscard]] const Value& front() const { return entries_.front().value; }

  /// Puts `value` in.
  void push(std::uint64_t timestamp, Value value) {
    entries_.push_back({timestamp, value});
    move_up(entries_.size() - 1, entries_.back());
  }

  /// Takes the front out and returns it; the heap must not be empty.
  Value pop() {
    const Value front = entries_.front().value;
    const entry last = entries_.back();
    entries_.pop_back();
    const std::size_t size = entries_.size();
    if (size > 0) {
      // The gap at the front moves down to a leaf along the smaller children, the right one of equals; then
      // the last entry moves up from there.
      entry* const entries = entries_.data();
      std::size_t gap = 0;
      while (2 * gap + 2 < size) {
        const std::size_t right = 2 * gap + 2;
        const std::size_t smaller =
            right - static_cast<std::size_t>(entries[right].timestamp > entries[right - 1].timestamp);
        entries[gap] = entries[smaller];
        gap = smaller;
      }
      if (2 * gap + 1 < size) {
        entries[gap] = entries[2 * gap + 1];
        gap = 2 * gap + 1;
      }
      move_up(gap, last);
    }
    return front;
  }

 private:
  struct entry {
    std::uint64_t timestamp;
    Value value;
  };

  /// Puts `moving` to `place`, or further up as long as it is smaller than the entry above.
  void move_up(std::size_t place, const entry moving) {
    entry* const entries = entries_.data();
    while (place > 0 && entries[(place - 1) / 2].timestamp > moving.timestamp) {
      entries[place] = entries[(place - 1) / 2];
      place = (place - 1) / 2;
    }
    entries[place] = moving;
  }

  std::vector<entry> entries_;
};
