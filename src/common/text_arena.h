#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "common/huge_pages.h"

/// Keeps what goes all at once: texts and values of trace records, small parts of nodes, the tree of an XML
/// file. Bytes handed out stay
/// where they are until the arena is cleared or destroyed, so consumers may keep pointers to them.
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
