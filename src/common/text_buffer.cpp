#include "common/text_buffer.h"

#include <algorithm>

void text_buffer::grow(std::size_t size_bytes) {
  constexpr std::size_t least_bytes = 256;
  const std::size_t used = size();
  const std::size_t room = std::max({least_bytes, used * 2, used + size_bytes});
  auto grown = std::make_unique_for_overwrite<char[]>(room);
  if (used > 0) std::memcpy(grown.get(), bytes_.get(), used);
  bytes_ = std::move(grown);
  end_ = bytes_.get() + used;
  room_end_ = bytes_.get() + room;
}
