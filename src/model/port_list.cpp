#include "model/port_list.h"

#include <algorithm>

#include "common/text_arena.h"

void port_list::add(port_symbol& port, text_arena& arena) {
  if (size_ == 0) {
    only_ = &port;
  } else {
    if (size_ == 1 || size_ == room_) {
      // What the old array took stays unused: all of them together are no larger than the last one.
      const std::uint32_t room = size_ * 2;
      // An array of pointers is meant.
      constexpr std::size_t pointer_bytes = sizeof(void*);
      auto** const array =
          reinterpret_cast<port_symbol**>(arena.allocate(room * pointer_bytes, pointer_bytes));
      std::ranges::copy(all(), array);
      array_ = array;
      room_ = room;
    }
    array_[size_] = &port;
  }
  ++size_;
}
