#include "common/text_arena.h"

#include <cstdint>
#include <cstring>
#include <new>

namespace {
constexpr std::size_t block_bytes = 64 * 1024;
// Larger pieces get a block of their own, so that at most an eighth of a shared block is left unused.
constexpr std::size_t large_bytes = block_bytes / 8;
// From 2 MiB on, an arena grows by whole huge pages: what is left unused of the last one then counts for
// little.
constexpr std::size_t blocks_before_huge_pages = 32;
}  // namespace

void text_arena::add_block(std::size_t size_bytes) {
  void* const block =
      size_bytes == huge_page_bytes ? allocate_huge_pages(size_bytes) : std::malloc(size_bytes);
  if (block == nullptr) throw std::bad_alloc();
  blocks_.emplace_back(static_cast<char*>(block));
  taken_bytes_ += size_bytes;
}

char* text_arena::allocate(std::size_t size_bytes, std::size_t alignment) {
  if (size_bytes >= large_bytes) {
    add_block(size_bytes);
    return blocks_.back().get();
  }
  std::size_t padding = -reinterpret_cast<std::uintptr_t>(free_) & (alignment - 1);
  if (free_ == nullptr || padding + size_bytes > free_bytes_) {
    free_bytes_ = blocks_.size() < blocks_before_huge_pages ? block_bytes : huge_page_bytes;
    add_block(free_bytes_);
    free_ = blocks_.back().get();
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
