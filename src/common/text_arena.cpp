#include "common/text_arena.h"

#include <cstdint>
#include <cstring>

namespace {
constexpr std::size_t block_bytes = 64 * 1024;
// Larger pieces get a block of their own, so that at most an eighth of a shared block is left unused.
constexpr std::size_t large_bytes = block_bytes / 8;
}  // namespace

char* text_arena::allocate(std::size_t size_bytes, std::size_t alignment) {
  if (size_bytes >= large_bytes) {
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(size_bytes));
    return blocks_.back().get();
  }
  std::size_t padding = -reinterpret_cast<std::uintptr_t>(free_) & (alignment - 1);
  if (free_ == nullptr || padding + size_bytes > free_bytes_) {
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(block_bytes));
    free_ = blocks_.back().get();
    free_bytes_ = block_bytes;
    padding = 0;
  }
  char* const start = free_ + padding;
  free_ += padding + size_bytes;
  free_bytes_ -= padding + size_bytes;
  return start;
}

const char* text_arena::copy(std::string_view text) {
  char* const bytes = allocate(text.size() + 1);
  std::memcpy(bytes, text.data(), text.size());
  bytes[text.size()] = '\0';
  return bytes;
}
