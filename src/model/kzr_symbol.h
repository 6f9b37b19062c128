#pragma once

#include <cstdint>

#include "common/onx_id.h"

/// The classes of symbols. A composite node is also a node, and found as the graph of its inside.
enum class symbol_class : std::uint8_t {
  graph,
  node,
  subgraph_node,
  port,
  body,
  variable,
  parallel_region,
  implicit_task,
  explicit_task,
};

/// Root of everything that a trace names by an identifier. The run's `symbol_list` owns all symbols and keeps
/// them until the end of the run, so symbols point at each other without owning each other.
class kzr_symbol {
 public:
  kzr_symbol(const kzr_symbol&) = delete;
  kzr_symbol& operator=(const kzr_symbol&) = delete;

  /// The identifier under which the trace names the symbol.
  [[nodiscard]] const ___onx_id& onx_id() const { return id_; }
  [[nodiscard]] symbol_class type() const { return type_; }
  /// A number that stands for the symbol in its list; the inside of a composite node has that of the node.
  [[nodiscard]] std::uint32_t position() const { return position_; }

 protected:
  kzr_symbol(symbol_class type, const ___onx_id& id) : id_(id), type_(type) {}
  ~kzr_symbol() = default;

 private:
  friend class symbol_list;

  ___onx_id id_;
  std::uint32_t position_ = 0;
  symbol_class type_;
};

/// `symbol` as a `T`, null when it is none or null itself.
template <class T>
[[nodiscard]] T* symbol_cast(kzr_symbol* symbol) {
  return symbol != nullptr && symbol->type() == T::own_class ? static_cast<T*>(symbol) : nullptr;
}
