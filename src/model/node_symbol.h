#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "model/kzr_symbol.h"
#include "model/port_list.h"

class graph_symbol;
class text_arena;
class text_buffer;

/// A node of a graph, with its ports, kind, metadata and code location. Texts and further ports are in the
/// model's arena.
class node_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::node;

  /// `handle` is the string handle of the node's kind, `number` its number in the run. Does not add the node
  /// to `graph`.
  node_symbol(const ___onx_id& id, graph_symbol& graph, std::uint64_t handle, std::uint32_t number)
      : node_symbol(own_class, id, graph, handle, number) {}

  /// The graph that holds the node, whether it is shown there or not.
  [[nodiscard]] graph_symbol& own_graph() const { return *graph_; }
  /// The graph that the node is shown in: its own one, or the one above while the node is hidden, which is
  /// null at the top. A composite node counts as shown.
  [[nodiscard]] graph_symbol* get_enclosing_graph() const;
  /// The graph for the node's ports and edges: the enclosing graph or, where that yields none, the own one.
  [[nodiscard]] graph_symbol& graph_for_ports() const;
  /// Appends the graph's id and the node's number, or the graph's id alone while the node is hidden.
  void append_gml_id(text_buffer& text) const;

  /// The id of the node's graph at the time when the node was made: with the number behind it the name under
  /// which GraphML sorts the node. At the same address for most nodes of a graph.
  [[nodiscard]] const std::string& name_prefix() const { return name_prefix_; }
  [[nodiscard]] std::uint32_t number() const { return number_; }

  /// False for a node that the outputs leave out, as the trace said of it.
  [[nodiscard]] bool visible() const { return visible_; }
  void set_visible(bool visible) { visible_ = visible; }
  /// The string handle of the node's kind.
  [[nodiscard]] std::uint64_t handle() const { return handle_; }
  void set_handle(std::uint64_t handle) { handle_ = handle; }
  /// Offset of the node's code in its image, in decimal; empty when unknown.
  [[nodiscard]] std::string_view code_location() const { return code_location_; }
  void set_code_location(std::string_view location, text_arena& arena);

  /// Keeps `text`, borrowed until the end of the run, under the string handle `key`.
  void add_metadata(std::uint64_t key, const char* text, text_arena& arena);
  /// The text that was stored last under `key`, empty when there is none.
  [[nodiscard]] std::string_view find_metadata(std::uint64_t key) const;

  /// Ports in the order of their addition, which is that of the outputs; valid until the next one is added.
  [[nodiscard]] std::span<port_symbol* const> input_ports() const { return input_ports_.all(); }
  [[nodiscard]] std::span<port_symbol* const> output_ports() const { return output_ports_.all(); }
  /// Puts `port` behind the others of its direction.
  void add_port(port_symbol& port, text_arena& arena);

 protected:
  node_symbol(symbol_class type, const ___onx_id& id, graph_symbol& graph, std::uint64_t handle,
              std::uint32_t number);

 private:
  friend class graph_symbol;

  struct metadata {
    std::uint64_t key;
    const char* text;
    const metadata* earlier;
  };

  bool visible_ = true;
  std::uint32_t number_;
  std::uint32_t index_in_graph_ = 0;
  graph_symbol* graph_;
  const std::string& name_prefix_;
  std::uint64_t handle_;
  const char* code_location_ = "";
  const metadata* metadata_ = nullptr;  ///< the latest one
  port_list input_ports_;
  port_list output_ports_;
};

/// Composite nodes are nodes too.
template <>
[[nodiscard]] inline node_symbol* symbol_cast<node_symbol>(kzr_symbol* symbol) {
  const bool is_node = symbol != nullptr && (symbol->type() == symbol_class::node ||
                                             symbol->type() == symbol_class::subgraph_node);
  return is_node ? static_cast<node_symbol*>(symbol) : nullptr;
}
