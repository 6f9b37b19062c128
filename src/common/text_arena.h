#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

/// Keeps the texts and values of trace records. Bytes handed out stay where they are until the arena is
/// destroyed, so consumers may keep pointers to them for the whole run. Not copyable.
class text_arena {
 public:
  text_arena() = default;
  text_arena(const text_arena&) = delete;
  text_arena& operator=(const text_arena&) = delete;

  /// Room for `size_bytes` bytes at an address that is a multiple of `alignment` (a power of two up to 16).
  char* allocate(std::size_t size_bytes, std::size_t alignment = 1);

  /// A zero-terminated copy of `text`.
  const char* copy(std::string_view text);

 private:
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;
  std::size_t free_bytes_ = 0;
};
