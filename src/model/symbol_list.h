#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "common/flat_index.h"
#include "common/hash.h"
#include "common/huge_pages.h"
#include "model/kzr_symbol.h"
#include "model/subgraph_node_symbol.h"

/// All symbols of a run: their one owner, the memory they lie in, and the look-up by identifier. A symbol's
/// position is a number that stands for it and costs less to keep than a pointer; 0 stands for no symbol.
class symbol_list {
 public:
  symbol_list() = default;
  symbol_list(const symbol_list&) = delete;
  symbol_list& operator=(const symbol_list&) = delete;
  ~symbol_list();

  /// Makes a symbol from an identifier and `arguments` and registers it under the identifier, in place of an
  /// earlier one, which lives on where it is pointed at. Throws `std::bad_alloc`.
  template <class T, class... Arguments>
  T& make(const ___onx_id& id, Arguments&&... arguments) {
    static_assert(alignof(T) <= unit_bytes && sizeof(T) <= block_bytes - unit_bytes);
    void* const memory = allocate(sizeof(T));
    T* const symbol = new (memory) T(id, std::forward<Arguments>(arguments)...);
    if constexpr (!std::is_trivially_destructible_v<T>) {
      owners_.push_back({symbol, [](void* made) { static_cast<T*>(made)->~T(); }});
    }
    enter(*symbol);
    if constexpr (std::is_same_v<T, subgraph_node_symbol>)
      symbol->inner_graph().position_ = symbol->position();
    return *symbol;
  }

  /// The symbol registered under `id`, null when there is none.
  [[nodiscard]] kzr_symbol* find(const ___onx_id& id) const {
    const std::uint32_t position = table_.find(
        seeded_hash{}(id), [this, &id](std::uint32_t candidate) { return at(candidate)->onx_id() == id; });
    return at(position);
  }
  /// The symbol at `position`, null for 0.
  [[nodiscard]] kzr_symbol* at(std::uint32_t position) const {
    if (position == 0) return nullptr;
    char* const block = blocks_[position / block_units];
    return std::launder(reinterpret_cast<kzr_symbol*>(block + position % block_units * unit_bytes));
  }

  /// Whether there are more symbols than the caches nearest to a processor hold.
  [[nodiscard]] bool is_large() const { return blocks_.size() > blocks_in_caches; }
  /// Starts to fetch the slot of `id` in the look-up into the caches.
  void prefetch_slot(const ___onx_id& id) const { table_.prefetch(seeded_hash{}(id)); }
  /// The symbol that is most likely the one registered under `id`, which is not looked at; null when none is.
  [[nodiscard]] kzr_symbol* guess(const ___onx_id& id) const { return at(table_.guess(seeded_hash{}(id))); }

 private:
  /// A position counts units of this size, from the start of the first block.
  static constexpr std::size_t unit_bytes = 8;
  static constexpr std::size_t block_bytes = block_source::small_block_bytes;
  static constexpr std::size_t block_units = block_bytes / unit_bytes;
  static constexpr std::size_t blocks_in_caches = 8;
  static constexpr std::size_t most_blocks = (std::size_t{1} << 32) / block_units;

  [[nodiscard]] char* allocate(std::size_t size_bytes);
  void add_block();
  void enter(kzr_symbol& symbol);

  /// A symbol that holds memory of its own, and what gives that back.
  struct owner {
    void* symbol;
    void (*destroy)(void* symbol);
  };

  block_source source_;
  std::vector<std::unique_ptr<char, free_deleter>> memory_;
  std::vector<char*> blocks_;
  char* next_block_ = nullptr;
  std::size_t spare_blocks_ = 0;
  char* free_ = nullptr;
  std::size_t free_bytes_ = 0;
  std::vector<owner> owners_;
  flat_index table_;
};
