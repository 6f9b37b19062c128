#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>

#include "common/text_arena.h"
#include "model/kzr_symbol.h"

/// All symbols of a run in the order of their creation: their one owner. A symbol's position, from 1, is a
/// short name for it that costs less to keep than a pointer; 0 stands for no symbol.
class symbol_list {
 public:
  /// Makes a symbol from `arguments` and gives it the next position. It lives in the list's memory, so nobody
  /// may keep it for longer than the list.
  template <class T, class... Arguments>
  std::shared_ptr<T> make(Arguments&&... arguments) {
    auto symbol = std::allocate_shared<T>(arena_allocator<T>(arena_), std::forward<Arguments>(arguments)...);
    symbol->list_position_ = static_cast<std::uint32_t>(symbols_.size() + 1);
    symbols_.push_back(symbol);
    return symbol;
  }

  /// Position of `symbol`, 0 for null.
  [[nodiscard]] static std::uint32_t position_of(const kzr_symbol* symbol) {
    return symbol == nullptr ? 0 : symbol->list_position_;
  }

  /// The symbol at `position`, null for 0. There must be such a position.
  [[nodiscard]] const std::shared_ptr<kzr_symbol>& at(std::uint32_t position) const {
    return position == 0 ? none_ : symbols_[position - 1];
  }

  /// How many symbols there are, and so the last position.
  [[nodiscard]] std::size_t size() const { return symbols_.size(); }

 private:
  // Behind it go the symbols, which live in it.
  text_arena arena_;
  std::deque<std::shared_ptr<kzr_symbol>> symbols_;
  std::shared_ptr<kzr_symbol> none_;
};
