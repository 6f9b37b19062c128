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

block_source& block_source::operator=(block_source&& other) noexcept {
  std::swap(next_page_, other.next_page_);
  std::swap(taken_, other.taken_);
  std::swap(ready_page_, other.ready_page_);
  return *this;
}

block_source::~block_source() {
  if (ready_page_.valid()) std::free(ready_page_.get());
}

block_source::block block_source::take() {
  ++taken_;
  if (taken_ > small_blocks) return {take_page(), huge_page_bytes};
  void* const memory = std::malloc(small_block_bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return {static_cast<char*>(memory), small_block_bytes};
}

char* block_source::take_page() {
  if (next_page_ == readiness::on_demand || taken_ <= blocks_before_ready_ones) {
    return static_cast<char*>(allocate_huge_pages(huge_page_bytes));
  }
  // Allocated here, since another thread would take memory of its own for it.
  std::unique_ptr<char, free_deleter> spare(static_cast<char*>(allocate_huge_pages(huge_page_bytes)));
  char* const page =
      ready_page_.valid() ? ready_page_.get() : static_cast<char*>(allocate_huge_pages(huge_page_bytes));
  ready_page_ = run_aside(make_ready, spare.release());
  return page;
}

char* block_source::make_ready(char* page) {
  constexpr std::size_t small_page_bytes = 4096;
  for (std::size_t offset = 0; offset < huge_page_bytes; offset += small_page_bytes) {
    static_cast<volatile char*>(page)[offset] = 0;
  }
  return page;
}
