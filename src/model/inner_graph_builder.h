#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

class graph_symbol;
class kzr_data_manager;
class node_symbol;
class port_symbol;
class subgraph_node_symbol;

/// Gives the composite nodes of a run their inner graphs, once all records are known. A trace announces inner
/// nodes and edges beside their composite node and only says which inner ports stand for its outer ports;
/// from those ports the inside is found by following edges. Nodes are moved first, then every edge ever made
/// gets its graph and its ends. Nothing here recurses, and every node, port and edge is looked at a fixed
/// number of times, but for the composite nodes around it.
class inner_graph_builder {
 public:
  /// Borrows `dm` and its symbols.
  explicit inner_graph_builder(kzr_data_manager& dm) : dm_(dm) {}

  /// Does all of it; to be called once a run.
  void build();

 private:
  void collect_composites();
  void find_innermost_ports();
  void index_edges();
  void claim_boundary_nodes();
  void claim_boundary(subgraph_node_symbol& composite, bool composites);
  void order_by_depth();
  void fill_all();
  void count_unlinked_ports(const subgraph_node_symbol& composite);
  void measure_levels();
  void hide_insides();
  void show_edges();

  [[nodiscard]] port_symbol& innermost(port_symbol& port) const;
  [[nodiscard]] bool is_inside(const subgraph_node_symbol& inner, const subgraph_node_symbol& outer) const;
  bool claim(subgraph_node_symbol& composite, node_symbol& node);
  void start_fill(subgraph_node_symbol& composite);
  void enter(subgraph_node_symbol& composite, node_symbol& node);
  void follow_edges(subgraph_node_symbol& composite, const node_symbol& node, bool composites);
  void reach(subgraph_node_symbol& composite, port_symbol& port, bool composites);

  [[nodiscard]] std::uint32_t level_of(const graph_symbol& graph) const;
  [[nodiscard]] graph_symbol* find_common_graph(graph_symbol& first, graph_symbol& second) const;
  void number_composites();
  [[nodiscard]] bool contains(const subgraph_node_symbol& composite, const node_symbol& node) const;
  [[nodiscard]] bool holds(const graph_symbol& graph, const node_symbol& node) const;
  [[nodiscard]] port_symbol* find_inner_end(port_symbol& port, const node_symbol& other_end) const;
  [[nodiscard]] port_symbol& shown_end(const graph_symbol& graph, port_symbol& port) const;

  /// What is known of a node while inner graphs are filled.
  struct node_state {
    bool claimed = false;           ///< stands in the inner graph that it will stay in
    bool entered = false;           ///< its edges have been or are going to be followed
    bool holds_composites = false;  ///< a composite node that has others inside
    bool filled = false;            ///< a composite node whose inner graph is filled or being filled
  };
  [[nodiscard]] node_state& state_of(const node_symbol& node);

  kzr_data_manager& dm_;
  /// In the order of creation, then the innermost first.
  std::vector<subgraph_node_symbol*> composites_;
  std::unordered_map<const port_symbol*, port_symbol*>
      innermost_;  ///< of outer ports that an inner port stands for
  /// The ports at the other ends of the live edges of the port with the number i are `neighbours_` from
  /// `neighbours_begin_[i]` to `neighbours_begin_[i + 1]`.
  std::vector<std::uint32_t> neighbours_begin_;
  std::vector<port_symbol*> neighbours_;
  std::vector<node_state> states_;  ///< by node number
  /// What is left to do, the next at the back. The edges of a node are followed twice: first to composite
  /// nodes, which fill their own inner graphs at once, then to all others.
  enum class fill_step : std::uint8_t { start, follow_to_composites, follow_to_others };
  struct pending_fill {
    fill_step step;
    subgraph_node_symbol* composite;
    node_symbol* node;
  };
  std::vector<pending_fill> pending_;
  /// What a composite node holds at any depth, itself included: the numbers from `first` on.
  struct inside {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
    std::uint32_t next = 0;       ///< the number for the composite node that is numbered next
    graph_symbol* top = nullptr;  ///< the plain graph around all
  };
  std::vector<inside> insides_;        ///< by composite number
  std::vector<std::uint32_t> levels_;  ///< by composite number: how many graphs are around the inner graph
};
