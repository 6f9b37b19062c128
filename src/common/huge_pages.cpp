#include "common/huge_pages.h"

#include <sys/mman.h>

#include <cstdlib>
#include <memory>

#include "common/run_aside.h"

void* allocate_huge_pages(std::size_t size_bytes) {
  void* const block = std::aligned_alloc(huge_page_bytes, size_bytes);
  if (block == nullptr) throw std::bad_alloc();
  // Advice only: without it everything works, more slowly.
  madvise(block, size_bytes, MADV_HUGEPAGE);
  return block;
}

char* huge_page_source::take() {
  // Allocated here, since another thread would take memory of its own for it.
  std::unique_ptr<char, free_deleter> spare(static_cast<char*>(allocate_huge_pages(huge_page_bytes)));
  char* const page = next_.valid() ? next_.get() : static_cast<char*>(allocate_huge_pages(huge_page_bytes));
  next_ = run_aside(make_ready, spare.release());
  return page;
}

huge_page_source::~huge_page_source() {
  if (next_.valid()) std::free(next_.get());
}

char* huge_page_source::make_ready(char* page) {
  constexpr std::size_t small_page_bytes = 4096;
  for (std::size_t offset = 0; offset < huge_page_bytes; offset += small_page_bytes) {
    static_cast<volatile char*>(page)[offset] = 0;
  }
  return page;
}
