#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "common/huge_pages.h"
#include "common/prefetch.h"

/// Hash table of numbers that stand for objects which know their own keys, such as positions in a list. A
/// slot has eight bytes: the number and half of its key's hash, by which most keys are told apart, and by
/// which the table grows, without a look at the objects. Zero stands for no number and cannot be stored.
/// Callers say with `matches(number)` whether the object has the key in question.
class flat_index {
 public:
  /// The number under the key with `hash` that `matches`, 0 when there is none.
  template <class Matches>
  [[nodiscard]] std::uint32_t find(std::uint64_t hash, Matches matches) const {
    return size_ == 0 ? 0 : slots_[slot_of(short_hash(hash), matches)].number;
  }

  /// Puts `number` under the key with `hash`, in place of the one that `matches`, which is returned; 0 when
  /// there was none.
  template <class Matches>
  std::uint32_t put(std::uint64_t hash, std::uint32_t number, Matches matches) {
    if ((size_ + 1) * 4 > slots_.size() * 3) grow();
    slot& found = slots_[slot_of(short_hash(hash), matches)];
    found.hash = short_hash(hash);
    if (found.number == 0) ++size_;
    return std::exchange(found.number, number);
  }

  /// Removes the number under the key with `hash` that `matches` and returns it; 0 when there is none.
  template <class Matches>
  std::uint32_t erase(std::uint64_t hash, Matches matches) {
    if (size_ == 0) return 0;
    std::size_t hole = slot_of(short_hash(hash), matches);
    const std::uint32_t erased = slots_[hole].number;
    if (erased == 0) return 0;
    // Entries behind the hole move up, so that every entry stays reachable from its own slot.
    for (std::size_t next = (hole + 1) & mask(); slots_[next].number != 0; next = (next + 1) & mask()) {
      if (((next - home_of(slots_[next].hash)) & mask()) >= ((next - hole) & mask())) {
        slots_[hole] = slots_[next];
        hole = next;
      }
    }
    slots_[hole] = {};
    --size_;
    return erased;
  }

  /// Starts to fetch the slot of a key with `hash` into the caches.
  void prefetch(std::uint64_t hash) const {
    if (size_ > 0) ::prefetch(&slots_[home_of(short_hash(hash))]);
  }
  /// The number under a key with half of `hash`, most likely the one that `find` would find; 0 when there is
  /// none, and then `find` would not find any either.
  [[nodiscard]] std::uint32_t guess(std::uint64_t hash) const {
    return find(hash, [](std::uint32_t) { return true; });
  }

  /// How many numbers there are.
  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  struct slot {
    std::uint32_t hash = 0;
    std::uint32_t number = 0;
  };

  using slot_array = std::vector<slot, huge_page_allocator<slot>>;

  static std::uint32_t short_hash(std::uint64_t hash) { return static_cast<std::uint32_t>(hash >> 32); }
  [[nodiscard]] std::size_t mask() const { return slots_.size() - 1; }
  /// The upper bits count, so that a growing table is read and written from front to back.
  [[nodiscard]] std::size_t home_of(std::uint32_t hash) const {
    return static_cast<std::size_t>(std::uint64_t{hash} * slots_.size() >> 32);
  }

  template <class Matches>
  [[nodiscard]] std::size_t slot_of(std::uint32_t hash, Matches matches) const {
    std::size_t position = home_of(hash);
    while (slots_[position].number != 0 &&
           !(slots_[position].hash == hash && matches(slots_[position].number))) {
      position = (position + 1) & mask();
    }
    return position;
  }

  void grow() {
    const slot_array old = std::exchange(slots_, {});
    slots_.resize(old.empty() ? 4 : old.size() * 2);
    for (const slot& entry : old) {
      if (entry.number != 0) slots_[slot_of(entry.hash, [](std::uint32_t) { return false; })] = entry;
    }
  }

  slot_array slots_;
  std::size_t size_ = 0;
};
