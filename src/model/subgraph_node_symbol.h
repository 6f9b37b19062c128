#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "model/graph_symbol.h"
#include "model/node_symbol.h"

/// A composite node: a node of its enclosing graph and at once the graph of its inner nodes. Its id is that
/// of its node part, also where it is asked as a graph.
class subgraph_node_symbol : public graph_symbol, public node_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::subgraph_node;
  /// Number of the next composite node of the run.
  static std::uint64_t subgraph_node_count;

  subgraph_node_symbol(const ___onx_id& id, graph_symbol& enclosing, unsigned long handle);

  /// Makes a composite node, which takes the next graph, node and composite-node numbers, and adds its node
  /// part to `enclosing`.
  static std::shared_ptr<subgraph_node_symbol> create(const ___onx_id& id, graph_symbol& enclosing,
                                                      unsigned long handle);

  /// The graph that holds the node part, whether it is shown there or not.
  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  [[nodiscard]] std::string get_file_name() const override;
  [[nodiscard]] std::string gml_id() const override { return node_symbol::gml_id(); }
  [[nodiscard]] ___onx_id onx_id() const override { return node_symbol::onx_id(); }
  [[nodiscard]] unsigned long handle() const override { return node_symbol::handle(); }
  [[nodiscard]] graph_symbol* find_enclosing_graph() const override { return &own_graph(); }
  [[nodiscard]] subgraph_node_symbol* composite_node() override { return this; }
  [[nodiscard]] const subgraph_node_symbol* composite_node() const override { return this; }
  [[nodiscard]] void* as(symbol_class wanted) override;
  using node_symbol::append_gml_id;
  using node_symbol::shared_from_this;

  /// Notes that `inner` stands for the port of this composite node with the same first word of the
  /// identifier, an input port before an output port. Without such a port it is kept without links.
  void register_aliased_port(port_symbol& inner);

  /// The first port of this composite node with the direction and offset that no inner port stands for; null
  /// when there is none.
  [[nodiscard]] port_symbol* find_free_port(bool is_input, int offset);
  /// Makes `inner` stand for `outer`, a port of this composite node.
  void link_ports(port_symbol& outer, port_symbol& inner);
  /// Notes a composite node that stands in this one's inner graph.
  void add_nested_composite(subgraph_node_symbol& nested) { nested_composites_.push_back(&nested); }

  void dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) override;

  /// The GraphML file made for this composite node's inner graph; empty while it has none.
  [[nodiscard]] const std::shared_ptr<graphml_file>& own_file() const { return file(); }

  [[nodiscard]] std::uint64_t composite_number() const { return composite_number_; }
  [[nodiscard]] const std::vector<port_symbol*>& aliased_ports() const { return aliased_ports_; }
  [[nodiscard]] const std::vector<subgraph_node_symbol*>& nested_composites() const {
    return nested_composites_;
  }
  /// The inner nodes whose ports stand for input ports, and for output ports, of this composite node.
  [[nodiscard]] const std::vector<node_symbol*>& input_side_nodes() const { return input_side_nodes_; }
  [[nodiscard]] const std::vector<node_symbol*>& output_side_nodes() const { return output_side_nodes_; }

 private:
  std::uint64_t composite_number_;
  std::vector<port_symbol*> aliased_ports_;
  std::vector<node_symbol*> input_side_nodes_;
  std::vector<node_symbol*> output_side_nodes_;
  std::vector<subgraph_node_symbol*> nested_composites_;
  /// By direction and offset: how many ports from the front are known to have an inner port.
  std::map<std::pair<bool, int>, std::size_t> linked_ports_;
};
