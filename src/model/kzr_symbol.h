#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "common/onx_id.h"

class graph_symbol;
class kzr_data_manager;
class node_symbol;
class symbol_list;

/// The classes that a symbol can be asked for. A composite node is a graph, a node and itself.
enum class symbol_class : std::uint8_t {
  graph,
  node,
  subgraph_node,
  port,
  edge,
  body,
  variable,
  parallel_region,
  implicit_task,
  explicit_task,
};

/// Root of everything that a trace describes. The data manager creates and owns all symbols and keeps them
/// until the end of the run, so symbols point at each other without owning each other. An operation that a
/// class does not define aborts: asking for it is a programming error, never a reaction to trace content.
class kzr_symbol {
 public:
  /// True for classes whose objects hold no memory but that of their list, which then does not destroy them.
  static constexpr bool lives_in_list = false;

  kzr_symbol() = default;
  kzr_symbol(const kzr_symbol&) = delete;
  kzr_symbol& operator=(const kzr_symbol&) = delete;

  /// The graph that the symbol stands in; empty for a top-level graph.
  [[nodiscard]] virtual std::shared_ptr<graph_symbol> get_enclosing_graph() const;
  /// The node that the symbol belongs to.
  [[nodiscard]] virtual std::shared_ptr<node_symbol> get_parent_node() const;
  /// The identifier under which the output files name the symbol.
  [[nodiscard]] virtual std::string gml_id() const;
  /// The identifier under which the trace names the symbol.
  [[nodiscard]] virtual ___onx_id onx_id() const;
  /// The string handle of the symbol's kind or name.
  [[nodiscard]] virtual unsigned long handle() const;
  /// Stores `value` under the string handle `key`, in place of an earlier one. `value` must stay valid until
  /// the end of the run, as the texts of records do; the second number is not used.
  virtual void add_metadata(unsigned long key, unsigned long, const char* value);
  /// Writes the symbol's GraphML lines, each behind `indent`.
  virtual void dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent);
  virtual ~kzr_symbol() = default;

  /// The symbol, shared: the pointer owns nothing, as all symbols have one owner.
  [[nodiscard]] std::shared_ptr<kzr_symbol> shared_from_this() { return share(*this); }

  /// The symbol as an object of the class `wanted`, null when it is none. Use `symbol_cast`.
  [[nodiscard]] virtual void* as(symbol_class wanted);

  /// The text stored under `key`, empty when there is none.
  [[nodiscard]] virtual std::string_view find_metadata(unsigned long key) const;

  /// A pointer to `symbol` that looks like a shared one and owns nothing.
  template <class T>
  [[nodiscard]] static std::shared_ptr<T> share(T& symbol) {
    return std::shared_ptr<T>(std::shared_ptr<void>(), &symbol);
  }

  /// Orders symbols by the number in their GraphML ids: "d10" behind "d9", all nodes of one graph alike.
  struct gml_compare {
    bool operator()(const std::shared_ptr<kzr_symbol>& a, const std::shared_ptr<kzr_symbol>& b) const;
  };

 protected:
  /// The list that owns the symbol; a key has none.
  [[nodiscard]] symbol_list& list() const { return *list_; }

 private:
  friend class symbol_list;

  symbol_list* list_ = nullptr;
  std::uint32_t list_position_ = 0;
};

/// `symbol` as a `T`, null when it is none or null itself. Unlike `dynamic_cast` it costs one virtual call.
template <class T>
[[nodiscard]] T* symbol_cast(kzr_symbol* symbol) {
  return symbol == nullptr ? nullptr : static_cast<T*>(symbol->as(T::own_class));
}

/// Lets a class that reaches `kzr_symbol` through a virtual base hand out a shared pointer to itself.
template <class T>
class virtual_enable_shared_from_this : public virtual kzr_symbol {
 public:
  [[nodiscard]] std::shared_ptr<T> shared_from_this() { return kzr_symbol::share(static_cast<T&>(*this)); }
  [[nodiscard]] std::shared_ptr<const T> shared_from_this() const {
    return kzr_symbol::share(static_cast<const T&>(*this));
  }
};
