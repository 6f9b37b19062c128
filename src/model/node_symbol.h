#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "model/kzr_symbol.h"

class body_symbol;
class graph_symbol;
class port_symbol;

/// A node of a graph, with its ports, body, kind and code location. Points at them without owning them.
class node_symbol : public virtual_enable_shared_from_this<node_symbol> {
 public:
  static constexpr symbol_class own_class = symbol_class::node;
  /// Number of the next node of the run.
  static std::uint64_t node_count;

  /// Takes the next node number. `handle` is the string handle of the node's kind. Does not add the node to
  /// `graph`.
  node_symbol(const ___onx_id& id, graph_symbol& graph, unsigned long handle);
  ~node_symbol() override;

  /// The graph that the node is shown in: its own one, or the one above while the node is hidden.
  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  /// The graph's id and the node's number, or the graph's id alone while the node is hidden.
  [[nodiscard]] std::string gml_id() const override;
  [[nodiscard]] ___onx_id onx_id() const override { return id_; }
  [[nodiscard]] unsigned long handle() const override { return handle_; }
  void dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) override;
  /// Appends the node's GraphML lines, each behind `indent`; nothing while the node is hidden.
  virtual void append_graphml(const kzr_data_manager& dm, std::string& text, const std::string& indent) const;
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
  void append_gml_id(std::string& text) const;

  /// The name under which GraphML sorts the node: its id at the time of its creation.
  [[nodiscard]] const std::string& name() const { return name_; }
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
  [[nodiscard]] const std::string& code_location() const { return code_location_; }
  void set_code_location(std::string location) { code_location_ = std::move(location); }

  /// Ports in the order of their addition, which is that of the outputs.
  [[nodiscard]] const std::vector<port_symbol*>& input_ports() const { return input_ports_; }
  [[nodiscard]] const std::vector<port_symbol*>& output_ports() const { return output_ports_; }
  void add_input_port(port_symbol& port) { input_ports_.push_back(&port); }
  void add_output_port(port_symbol& port) { output_ports_.push_back(&port); }

 private:
  friend class graph_symbol;

  std::string code_location_;
  graph_symbol* graph_;
  std::string name_;
  ___onx_id id_;
  unsigned long handle_;
  body_symbol* body_ = nullptr;
  std::vector<port_symbol*> input_ports_;
  std::vector<port_symbol*> output_ports_;
  std::uint64_t number_;
  std::size_t place_in_graph_ = 0;
  bool visible_ = true;
};
