#include "model/symbol_list.h"

#include <cstdlib>
#include <new>

#include "common/huge_pages.h"

symbol_list::~symbol_list() {
  for (auto symbol = owners_.rbegin(); symbol != owners_.rend(); ++symbol) (*symbol)->~kzr_symbol();
}

char* symbol_list::allocate(std::size_t size_bytes) {
  const std::size_t rounded = (size_bytes + unit_bytes - 1) / unit_bytes * unit_bytes;
  if (rounded > free_bytes_) add_block();
  free_bytes_ -= rounded;
  return std::exchange(free_, free_ + rounded);
}

void symbol_list::add_block() {
  // From 8 MiB on whole huge pages: what is left unused of the last one then counts for little.
  constexpr std::size_t blocks_before_huge_pages = 128;
  if (blocks_.size() == most_blocks) throw std::bad_alloc();
  if (spare_blocks_ == 0) {
    const bool is_huge = blocks_.size() >= blocks_before_huge_pages;
    void* const memory = is_huge ? pages_.take() : std::malloc(block_bytes);
    if (memory == nullptr) throw std::bad_alloc();
    memory_.emplace_back(static_cast<char*>(memory));
    spare_blocks_ = is_huge ? huge_page_bytes / block_bytes : 1;
    next_block_ = memory_.back().get();
  }
  --spare_blocks_;
  blocks_.push_back(std::exchange(next_block_, next_block_ + block_bytes));
  // The position 0 stands for no symbol.
  const std::size_t unused = blocks_.size() == 1 ? unit_bytes : 0;
  free_ = blocks_.back() + unused;
  free_bytes_ = block_bytes - unused;
}

void symbol_list::enter(kzr_symbol& symbol) {
  const auto offset = static_cast<std::size_t>(reinterpret_cast<char*>(&symbol) - blocks_.back());
  symbol.list_ = this;
  symbol.list_position_ =
      static_cast<std::uint32_t>((blocks_.size() - 1) * block_units + offset / unit_bytes);
}
