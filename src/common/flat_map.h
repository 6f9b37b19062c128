#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "common/huge_pages.h"
#include "common/onx_id.h"
#include "common/prefetch.h"

/// A number of this process alone, so that no trace can be made whose keys all land in one place.
extern const std::uint64_t flat_hash_seed;

/// Spreads the bits of a number; neighbouring and aligned numbers land far apart.
[[nodiscard]] inline std::uint64_t spread_bits(std::uint64_t number) {
  number ^= flat_hash_seed;
  number ^= number >> 32;
  number *= 0x9e3779b97f4a7c15U;
  number ^= number >> 29;
  number *= 0xbf58476d1ce4e5b9U;
  return number ^ number >> 32;
}

/// Both halves of the product of two numbers in one, in which every bit of either has a say.
[[nodiscard]] inline std::uint64_t fold_product(std::uint64_t a, std::uint64_t b) {
  __extension__ using wide_number = unsigned __int128;
  const wide_number product = wide_number{a} * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// Hash of the key types that the model's tables use; differs from one run of the program to the next.
struct flat_hash {
  std::uint64_t operator()(std::uint64_t number) const { return spread_bits(number); }
  std::uint64_t operator()(std::int64_t number) const {
    return spread_bits(static_cast<std::uint64_t>(number));
  }
  std::uint64_t operator()(const void* address) const {
    return spread_bits(static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(address)));
  }
  std::uint64_t operator()(const ___onx_id& id) const {
    return fold_product(fold_product(id.d1 ^ flat_hash_seed, id.d2 ^ std::rotl(flat_hash_seed, 32)) ^ id.d3,
                        0x9e3779b97f4a7c15U);
  }
  template <class First, class Second>
  std::uint64_t operator()(const std::pair<First, Second>& both) const {
    return spread_bits((*this)(both.first) + std::rotl((*this)(both.second), 17));
  }
};

/// Hash table in one array, for keys that are looked up far more often than a tree can afford. A slot is free
/// while its value equals `Value{}`, so such a value cannot be stored. The order of the slots means nothing:
/// whoever walks them must sort. Pointers into the table are valid until the next insertion or erasure.
template <class Key, class Value>
class flat_map {
 public:
  /// The value under `key`, null when there is none. Borrowed until the next insertion or erasure.
  [[nodiscard]] const Value* find(const Key& key) const {
    if (size_ == 0) return nullptr;
    const slot& found = slots_[position_of(key)];
    return is_free(found) ? nullptr : &found.value;
  }
  [[nodiscard]] Value* find(const Key& key) {
    return const_cast<Value*>(static_cast<const flat_map*>(this)->find(key));
  }

  /// The value under `key`, or `Value{}`.
  [[nodiscard]] Value value_or_default(const Key& key) const {
    const Value* const found = find(key);
    return found != nullptr ? *found : Value{};
  }

  /// Starts to fetch the place where the value under `key` is or would be into the caches.
  void prefetch(const Key& key) const {
    if (size_ == 0) return;
    const std::uint64_t hash = flat_hash{}(key);
    ::prefetch(&slots_[hash & mask()]);
  }

  /// The place of the value under `key`, which the caller must give a value other than `Value{}` at once when
  /// there was none.
  Value& place(const Key& key) {
    if ((size_ + 1) * 4 > slots_.size() * 3) grow();
    slot& found = slots_[position_of(key)];
    if (is_free(found)) {
      found.key = key;
      ++size_;
    }
    return found.value;
  }

  /// Removes the entry under `key`; false when there is none.
  bool erase(const Key& key) {
    if (size_ == 0) return false;
    std::size_t hole = position_of(key);
    if (is_free(slots_[hole])) return false;
    // Entries behind the hole move up, so that every entry stays reachable from its own position.
    for (std::size_t next = (hole + 1) & mask(); !is_free(slots_[next]); next = (next + 1) & mask()) {
      const std::size_t home = flat_hash{}(slots_[next].key) & mask();
      if (((next - home) & mask()) >= ((next - hole) & mask())) {
        slots_[hole] = std::move(slots_[next]);
        hole = next;
      }
    }
    slots_[hole] = slot{};
    --size_;
    return true;
  }

  /// How many entries there are.
  [[nodiscard]] std::size_t size() const { return size_; }
  /// True when there is no entry.
  [[nodiscard]] bool empty() const { return size_ == 0; }

  /// Calls `visit(key, value)` for every entry, in no order.
  template <class Visit>
  void for_each(Visit visit) const {
    for (const slot& entry : slots_) {
      if (!is_free(entry)) visit(entry.key, entry.value);
    }
  }

 private:
  struct slot {
    Key key{};
    Value value{};
  };

  using slot_array = std::vector<slot, huge_page_allocator<slot>>;

  static bool is_free(const slot& candidate) { return candidate.value == Value{}; }
  [[nodiscard]] std::size_t mask() const { return slots_.size() - 1; }

  [[nodiscard]] std::size_t position_of(const Key& key) const {
    std::size_t position = flat_hash{}(key)&mask();
    while (!is_free(slots_[position]) && !(slots_[position].key == key)) position = (position + 1) & mask();
    return position;
  }

  void grow() {
    slot_array old = std::exchange(slots_, {});
    slots_.resize(next_table_size<slot>(old.size()));
    for (slot& entry : old) {
      if (!is_free(entry)) slots_[position_of(entry.key)] = std::move(entry);
    }
  }

  slot_array slots_;
  std::size_t size_ = 0;
};
