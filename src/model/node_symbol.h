#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "model/kzr_symbol.h"
#include "model/port_list.h"

class body_symbol;
class graph_symbol;
class string_handles;
class port_symbol;
class text_buffer;

/// A node of a graph, with its ports, body, kind and code location. Points at them without owning them.
class node_symbol : public virtual_enable_shared_from_this<node_symbol> {
 public:
  static constexpr symbol_class own_class = symbol_class::node;
  static constexpr bool lives_in_list = true;
  /// Number of the next node of the run.
  static std::uint64_t node_count;

  /// Takes the next node number. `handle` is the string handle of the node's kind. Does not add the node to
  /// `graph`.
  node_symbol(const ___onx_id& id, graph_symbol& graph, unsigned long handle);

  /// The graph that the node is shown in: its own one, or the one above while the node is hidden.
  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  /// The graph's id and the node's number, or the graph's id alone while the node is hidden.
  [[nodiscard]] std::string gml_id() const override;
  [[nodiscard]] ___onx_id onx_id() const override { return id_; }
  [[nodiscard]] unsigned long handle() const override { return handle_; }
  void add_metadata(unsigned long key, unsigned long, const char* value) override;
  [[nodiscard]] std::string_view find_metadata(unsigned long key) const override;
  void dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) override;
  /// Appends the node's GraphML lines, each behind `indent`; nothing while the node is hidden.
  virtual void append_graphml(const kzr_data_manager& dm, const string_handles& handles, text_buffer& text,
                              const std::string& indent) const;
  /// Moves the node into the inner graph `graph`; aborts when `graph` is a plain graph.
  void set_sub_graph(graph_symbol& graph);
  [[nodiscard]] void* as(symbol_class wanted) override;

  /// `get_enclosing_graph`, borrowed; null for a hidden node of a top-level graph.
  [[nodiscard]] virtual graph_symbol* find_enclosing_graph() const;
  /// The graph for the node's ports and edges: the enclosing graph or, where that yields none, the node's
  /// own.
  [[nodiscard]] graph_symbol& graph_for_ports() const;
  /// The graph that holds the node, whether it is shown there or not.
  [[nodiscard]] graph_symbol& own_graph() const { return *graph_; }
  /// Appends `gml_id()` to `text`.
  void append_gml_id(text_buffer& text) const;

  /// The name under which GraphML sorts the node: its id at the time of its creation.
  [[nodiscard]] std::string name() const;
  /// The part of the name in front of the number, at the same address for most nodes of a graph.
  [[nodiscard]] const char* name_prefix() const { return name_prefix_; }
  /// The number at the end of the node's GraphML id.
  [[nodiscard]] std::uint64_t number() const { return number_; }
  /// False for a node that the outputs leave out, as the trace said of it.
  [[nodiscard]] bool visible() const { return visible_; }
  void set_visible(bool visible) { visible_ = visible; }
  /// Gives the node another kind.
  void set_handle(unsigned long handle) { handle_ = handle; }
  /// The body that was set last; null for a node without one.
  [[nodiscard]] body_symbol* body() const { return body_; }
  void set_body(body_symbol& body) { body_ = &body; }
  /// Offset of the node's code in its image, in decimal; empty when unknown.
  [[nodiscard]] std::string_view code_location() const { return code_location_; }
  void set_code_location(std::string_view location);

  /// Ports in the order of their addition, which is that of the outputs; valid until the next one is added.
  [[nodiscard]] std::span<port_symbol* const> input_ports() const { return input_ports_.all(); }
  [[nodiscard]] std::span<port_symbol* const> output_ports() const { return output_ports_.all(); }
  void add_input_port(port_symbol& port);
  void add_output_port(port_symbol& port);

 private:
  friend class graph_symbol;

  // What ids are made of comes first, so that it is near together.
  graph_symbol* graph_;
  // Memory ends before there are as many nodes as these can count.
  std::uint32_t number_;
  std::uint32_t place_in_graph_ = 0;
  bool visible_ = true;
  const char* name_prefix_;
  const char* code_location_ = "";
  ___onx_id id_;
  unsigned long handle_;
  body_symbol* body_ = nullptr;
  port_list input_ports_;
  port_list output_ports_;
  // Most nodes have metadata of one key, their name; what else there is, the base class keeps.
  unsigned long metadata_key_ = 0;
  const char* metadata_value_ = nullptr;
};
