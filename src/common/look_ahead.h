#pragma once

#include <array>
#include <cstddef>

/// Hands out items some steps after they were read, so that the memory that each will need can be fetched in
/// the meantime.
template <class Item, std::size_t Steps>
class look_ahead {
 public:
  /// The next item, null when there is none; valid until the next call. `read(Item&)` puts what comes behind
  /// the known items into its argument; once it returns false it is not called again.
  template <class Read>
  [[nodiscard]] const Item* next(Read read) {
    if (count_ > 0) {
      first_ = (first_ + 1) % items_.size();
      --count_;
    }
    while (!has_ended_ && count_ < items_.size()) {
      if (read(items_[(first_ + count_) % items_.size()])) {
        ++count_;
      } else {
        has_ended_ = true;
      }
    }
    return upcoming(0);
  }

  /// The item that comes `steps` after the one handed out last, at most `Steps`; null when there is none.
  [[nodiscard]] const Item* upcoming(std::size_t steps) const {
    return steps < count_ ? &items_[(first_ + steps) % items_.size()] : nullptr;
  }

 private:
  std::array<Item, Steps + 1> items_;
  std::size_t first_ = 0;
  std::size_t count_ = 0;
  bool has_ended_ = false;
};
