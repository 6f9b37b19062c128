#include "common/huge_pages.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

void* allocate_huge_pages(std::size_t size_bytes) {
  void* const block = std::aligned_alloc(huge_page_bytes, size_bytes);
  if (block == nullptr) throw std::bad_alloc();
  // Advice only: without it everything works, more slowly.
  madvise(block, size_bytes, MADV_HUGEPAGE);
  return block;
}

block_source::block block_source::take() {
  ++taken_;
  if (taken_ > small_blocks)
    return {static_cast<char*>(allocate_huge_pages(huge_page_bytes)), huge_page_bytes};
  void* const memory = std::malloc(small_block_bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return {static_cast<char*>(memory), small_block_bytes};
}
