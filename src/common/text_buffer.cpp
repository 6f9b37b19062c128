#include "common/text_buffer.h"

void text_buffer::grow(std::size_t size_bytes) {
  constexpr std::size_t least_bytes = 256;
  room_ = std::max({least_bytes, size_ * 2, size_ + size_bytes});
  auto grown = std::make_unique_for_overwrite<char[]>(room_);
  if (size_ > 0) std::memcpy(grown.get(), bytes_.get(), size_);
  bytes_ = std::move(grown);
}
