#include "common/huge_pages.h"

#include <sys/mman.h>

void* allocate_huge_pages(std::size_t size_bytes) {
  void* const block = std::aligned_alloc(huge_page_bytes, size_bytes);
  if (block == nullptr) throw std::bad_alloc();
  // Advice only: without it everything works, more slowly.
  madvise(block, size_bytes, MADV_HUGEPAGE);
  return block;
}
