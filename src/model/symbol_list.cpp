#include "model/symbol_list.h"

#include <cstdlib>
#include <new>

#include "common/huge_pages.h"

symbol_list::~symbol_list() {
  for (const owner& symbol : owners_) symbol.destroy(symbol.symbol);
}

char* symbol_list::allocate(std::size_t size_bytes) {
  const std::size_t rounded = (size_bytes + unit_bytes - 1) / unit_bytes * unit_bytes;
  if (rounded > free_bytes_) add_block();
  free_bytes_ -= rounded;
  return std::exchange(free_, free_ + rounded);
}

void symbol_list::add_block() {
  if (blocks_.size() == most_blocks) throw std::bad_alloc();
  if (spare_blocks_ == 0) {
    const block_source::block added = source_.take();
    memory_.emplace_back(added.memory);
    spare_blocks_ = added.size_bytes / block_bytes;
    next_block_ = added.memory;
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
  symbol.position_ = static_cast<std::uint32_t>((blocks_.size() - 1) * block_units + offset / unit_bytes);
  const ___onx_id& id = symbol.onx_id();
  table_.put(seeded_hash{}(id), symbol.position_,
             [this, &id](std::uint32_t candidate) { return at(candidate)->onx_id() == id; });
}
