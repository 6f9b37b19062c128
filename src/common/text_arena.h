#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "common/huge_pages.h"

/// Keeps what stays until the end of a run: texts and values of trace records, symbols. Bytes handed out stay
/// where they are until the arena is destroyed, so consumers may keep pointers to them. Not copyable.
class text_arena {
 public:
  text_arena() = default;
  text_arena(const text_arena&) = delete;
  text_arena& operator=(const text_arena&) = delete;

  /// Gives back all bytes handed out so far.
  void clear();

  /// Room for `size_bytes` bytes at an address that is a multiple of `alignment` (a power of two up to 16);
  /// its content is undefined. Throws `std::bad_alloc`.
  char* allocate(std::size_t size_bytes, std::size_t alignment = 1);

  /// A zero-terminated copy of `text`. Throws `std::bad_alloc`.
  const char* copy(std::string_view text);

  /// How much memory the arena has taken from the system, in bytes.
  [[nodiscard]] std::size_t taken_bytes() const { return taken_bytes_; }

 private:
  void keep(block_source::block added);

  block_source source_;
  std::vector<std::unique_ptr<char, free_deleter>> blocks_;
  char* free_ = nullptr;
  std::size_t free_bytes_ = 0;
  std::size_t taken_bytes_ = 0;
};

/// Takes memory for objects from an arena, which must outlive them. Gives nothing back before the arena goes.
template <class T>
class arena_allocator {
 public:
  using value_type = T;

  explicit arena_allocator(text_arena& arena) : arena_(&arena) {}
  template <class Other>
  explicit arena_allocator(const arena_allocator<Other>& other) : arena_(&other.arena()) {}

  /// Room for `count` objects. Throws `std::bad_alloc`.
  [[nodiscard]] T* allocate(std::size_t count) {
    // An array of pointers is meant when T is one.
    return reinterpret_cast<T*>(
        arena_->allocate(count * sizeof(T), alignof(T)));  // NOLINT(bugprone-sizeof-expression)
  }
  /// Does nothing: the memory goes with the arena.
  void deallocate(T*, std::size_t) {}

  /// The arena that the memory comes from.
  [[nodiscard]] text_arena& arena() const { return *arena_; }
  bool operator==(const arena_allocator&) const = default;

 private:
  text_arena* arena_;
};
