#include "common/text_arena.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {
// Larger pieces get a block of their own, so that at most an eighth of a shared block is left unused.
constexpr std::size_t large_bytes = block_source::small_block_bytes / 8;
}  // namespace

void text_arena::keep(block_source::block added) {
  blocks_.emplace_back(added.memory);
  taken_bytes_ += added.size_bytes;
}

void text_arena::clear() {
  blocks_.clear();
  free_ = nullptr;
  free_bytes_ = 0;
  taken_bytes_ = 0;
}

char* text_arena::allocate(std::size_t size_bytes, std::size_t alignment) {
  if (size_bytes >= large_bytes) {
    void* const memory = std::malloc(size_bytes);
    if (memory == nullptr) throw std::bad_alloc();
    keep({static_cast<char*>(memory), size_bytes});
    return blocks_.back().get();
  }
  std::size_t padding = -reinterpret_cast<std::uintptr_t>(free_) & (alignment - 1);
  if (free_ == nullptr || padding + size_bytes > free_bytes_) {
    const block_source::block added = source_.take();
    keep(added);
    free_ = added.memory;
    free_bytes_ = added.size_bytes;
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
