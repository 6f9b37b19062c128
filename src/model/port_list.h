#pragma once

#include <cstdint>
#include <span>

class port_symbol;
class text_arena;

/// The ports of a node in one direction. Nearly every node has one, which takes no memory beside the list's
/// own; further ones are in an arena, which must outlive the list.
class port_list {
 public:
  port_list() = default;
  port_list(const port_list&) = delete;
  port_list& operator=(const port_list&) = delete;

  /// Puts `port` behind the others; memory for it comes from `arena`, the same one in every call.
  void add(port_symbol& port, text_arena& arena);

  /// The ports in the order of their addition; valid until the next one is added.
  [[nodiscard]] std::span<port_symbol* const> all() const { return {size_ <= 1 ? &only_ : array_, size_}; }

 private:
  std::uint32_t size_ = 0;
  std::uint32_t room_ = 0;
  union {
    port_symbol* only_ = nullptr;
    port_symbol** array_;
  };
};
