#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/flat_index.h"
#include "common/hash.h"
#include "model/kzr_symbol.h"

class edge_symbol;
class node_symbol;
class port_symbol;
class subgraph_node_symbol;
class text_buffer;
class variable_symbol;

/// A graph: its nodes, its edges, and what composite nodes need to find ports in it. Points at them without
/// owning them.
class graph_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::graph;

  /// A graph with the id "g" and `number`.
  graph_symbol(const ___onx_id& id, std::uint64_t number);
  /// The inside of `composite`, whose id it has.
  graph_symbol(const ___onx_id& id, subgraph_node_symbol& composite);

  /// Switches the id to its OpenMP form, "omp" and `number`, before the graph has nodes.
  void set_gml_id(std::uint64_t number);
  /// Appends the graph's GraphML id.
  void append_gml_id(text_buffer& text) const;
  /// What the names of nodes that are made now begin with; valid as long as the graph.
  [[nodiscard]] const std::string& name_prefix();
  /// The composite node that this graph is the inside of; null for a plain graph.
  [[nodiscard]] subgraph_node_symbol* composite_node() const { return composite_; }

  /// The graph that gives this one its id: the nearest one around that is plain or the inside of a shown
  /// composite node. Itself until the inner graphs of the run are complete.
  [[nodiscard]] const graph_symbol& id_graph() const { return *id_graph_; }
  void set_id_graph(const graph_symbol& graph) { id_graph_ = &graph; }

  /// Takes `node` in; the graph must be its own one.
  void add_node(node_symbol& node);
  /// Moves `node` here from the graph that holds it, at a cost that does not depend on the size of either.
  void take_node(node_symbol& node);
  /// The node that was added last with the first word `d1` of its identifier; null when there is none.
  [[nodiscard]] node_symbol* find_node_with(std::uint64_t d1);
  /// All nodes in the order of their addition; null in place of those that were moved away.
  [[nodiscard]] const std::vector<node_symbol*>& nodes() const { return nodes_; }

  /// Registers a port of one of the graph's nodes for the look-ups of aliased ports.
  void add_port(port_symbol& port) { ports_.push_back({&port}); }
  /// The port registered last but one under the first word of `port`'s identifier; null when there is none.
  [[nodiscard]] port_symbol* get_aliased_port(const port_symbol& port);
  /// The port registered first under the first word of `port`'s identifier; null when there is none.
  [[nodiscard]] port_symbol* get_omp_aliased_port(const port_symbol& port);

  /// Keeps `variable` under its identifier, in place of an earlier one.
  void add_variable(variable_symbol& variable);
  /// The variable of this graph with the identifier `id`, null when there is none.
  [[nodiscard]] variable_symbol* find_variable(const ___onx_id& id) const;

  /// The live edges by number, listed when the inner graphs of the run are complete.
  [[nodiscard]] const std::vector<const edge_symbol*>& edges() const { return edges_; }
  void list_edge(const edge_symbol& edge) { edges_.push_back(&edge); }

 private:
  /// A port and, once the look-up knows it, the first port and the one before it with the same first word of
  /// the identifier: one more than their index in `ports_`, 0 for none.
  struct registered_port {
    port_symbol* port;
    std::uint32_t first = 0;
    std::uint32_t earlier = 0;
  };

  /// The port registered last with the first word `d1`; null when there is none.
  [[nodiscard]] const registered_port* find_last_port_with(std::uint64_t d1);
  [[nodiscard]] port_symbol* port_at(std::uint32_t index_and_one) const {
    return index_and_one == 0 ? nullptr : ports_[index_and_one - 1].port;
  }

  subgraph_node_symbol* composite_ = nullptr;
  const graph_symbol* id_graph_ = this;
  std::string gml_id_;                    ///< empty for the inside of a composite node
  std::list<std::string> name_prefixes_;  ///< nodes refer to them
  std::vector<node_symbol*> nodes_;
  std::vector<registered_port> ports_;
  std::vector<const edge_symbol*> edges_;
  /// Few runs look for nodes and ports by their first word, so the look-ups are brought up to date when they
  /// are asked. So many nodes and ports from the front are in them.
  std::size_t indexed_nodes_ = 0;
  std::size_t indexed_ports_ = 0;
  flat_index nodes_by_d1_;
  flat_index ports_by_d1_;
  std::unordered_map<___onx_id, variable_symbol*, seeded_hash> variables_;
};

/// A composite node is found as the graph of its inside.
template <>
[[nodiscard]] graph_symbol* symbol_cast<graph_symbol>(kzr_symbol* symbol);
