#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "common/flat_map.h"
#include "common/huge_pages.h"
#include "common/text_arena.h"
#include "model/kzr_symbol.h"

/// All symbols of a run: their one owner and the memory they live in. A symbol's position is a short name for
/// it that costs less to keep than a pointer; 0 stands for no symbol. Positions grow in the order of
/// creation.
class symbol_list {
 public:
  symbol_list() = default;
  symbol_list(const symbol_list&) = delete;
  symbol_list& operator=(const symbol_list&) = delete;
  ~symbol_list();

  /// Makes a symbol from `arguments` and gives it the next position.
  template <class T, class... Arguments>
  T& make(Arguments&&... arguments) {
    static_assert(alignof(T) <= unit_bytes && sizeof(T) <= block_bytes - unit_bytes);
    T* const symbol = new (allocate(sizeof(T))) T(std::forward<Arguments>(arguments)...);
    enter(*symbol);
    if constexpr (!T::lives_in_list) owners_.push_back(symbol);
    return *symbol;
  }

  /// Position of `symbol`, 0 for null.
  [[nodiscard]] static std::uint32_t position_of(const kzr_symbol* symbol) {
    return symbol == nullptr ? 0 : symbol->list_position_;
  }

  /// The symbol at `position`, which some symbol of this list has.
  [[nodiscard]] kzr_symbol& get(std::uint32_t position) const {
    char* const block = blocks_[position / block_units];
    return *std::launder(reinterpret_cast<kzr_symbol*>(block + position % block_units * unit_bytes));
  }
  /// The symbol at `position`, null for 0.
  [[nodiscard]] kzr_symbol* find(std::uint32_t position) const {
    return position == 0 ? nullptr : &get(position);
  }
  /// `find`, shared.
  [[nodiscard]] std::shared_ptr<kzr_symbol> at(std::uint32_t position) const {
    return position == 0 ? nullptr : get(position).shared_from_this();
  }

  /// Symbols of at least so many bytes have different quotients of their positions by `position_stride`.
  static constexpr std::size_t stride_bytes = 64;
  static constexpr std::uint32_t position_stride = 8;
  /// More than any position.
  [[nodiscard]] std::size_t end_position() const { return blocks_.size() * block_units; }

  /// Whether there are more symbols than the caches nearest to a processor hold.
  [[nodiscard]] bool is_large() const { return blocks_.size() > blocks_in_caches; }

  /// Memory for what symbols refer to; it is kept as long as they are.
  [[nodiscard]] text_arena& arena() { return arena_; }

 private:
  friend class kzr_symbol;

  /// A position counts units of this size, from the start of the first block.
  static constexpr std::size_t unit_bytes = stride_bytes / position_stride;
  static constexpr std::size_t block_bytes = block_source::small_block_bytes;
  static constexpr std::size_t block_units = block_bytes / unit_bytes;
  static constexpr std::size_t most_blocks = (std::size_t{1} << 32) / block_units;

  static constexpr std::size_t blocks_in_caches = 8;

  [[nodiscard]] char* allocate(std::size_t size_bytes);
  void add_block();
  void enter(kzr_symbol& symbol);

  block_source source_;
  std::vector<std::unique_ptr<char, free_deleter>> memory_;
  std::vector<char*> blocks_;
  char* next_block_ = nullptr;
  std::size_t spare_blocks_ = 0;
  char* free_ = nullptr;
  std::size_t free_bytes_ = 0;
  text_arena arena_;
  /// Symbols that hold memory of their own, which their destruction gives back.
  std::vector<kzr_symbol*> owners_;
  /// By position and key: texts for which the symbol itself has no room.
  flat_map<std::pair<std::uint64_t, std::uint64_t>, const char*> metadata_;
};
