#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>

#include "model/kzr_symbol.h"

/// All symbols of a run in the order of their creation: their one owner. A symbol's position, from 1, is a
/// short name for it that costs less to keep than a pointer; 0 stands for no symbol.
class symbol_list {
 public:
  /// Takes `symbol` in and gives it the next position.
  void add(std::shared_ptr<kzr_symbol> symbol) {
    symbol->list_position_ = static_cast<std::uint32_t>(symbols_.size() + 1);
    symbols_.push_back(std::move(symbol));
  }

  [[nodiscard]] static std::uint32_t position_of(const kzr_symbol* symbol) {
    return symbol == nullptr ? 0 : symbol->list_position_;
  }

  /// The symbol at `position`, null for 0.
  [[nodiscard]] const std::shared_ptr<kzr_symbol>& at(std::uint32_t position) const {
    return position == 0 ? none_ : symbols_[position - 1];
  }

  [[nodiscard]] std::size_t size() const { return symbols_.size(); }

 private:
  std::deque<std::shared_ptr<kzr_symbol>> symbols_;
  std::shared_ptr<kzr_symbol> none_;
};
