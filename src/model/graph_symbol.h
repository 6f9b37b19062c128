#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/flat_index.h"
#include "common/flat_map.h"
#include "model/kzr_symbol.h"

class edge_symbol;
class graphml_file;
class port_symbol;
class subgraph_node_symbol;
class text_buffer;
class variable_symbol;

/// A graph: its nodes, the edges between their ports, and what composite nodes need to find ports in it.
/// Points at them without owning them; the data manager's list of symbols does.
class graph_symbol : public virtual_enable_shared_from_this<graph_symbol> {
 public:
  static constexpr symbol_class own_class = symbol_class::graph;
  /// Number of the next graph of the run.
  static std::uint64_t graph_count;

  /// Takes the next graph number, and "g" with it as GraphML id. `parent` is null for a top-level graph,
  /// `handle` the string handle of its kind.
  graph_symbol(const ___onx_id& id, node_symbol* parent, unsigned long handle);
  ~graph_symbol() override;

  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  [[nodiscard]] std::shared_ptr<node_symbol> get_parent_node() const override;
  /// Name, without extension, of the GraphML file that holds the graph.
  [[nodiscard]] virtual std::string get_file_name() const;
  [[nodiscard]] std::string gml_id() const override;
  [[nodiscard]] ___onx_id onx_id() const override { return id_; }
  [[nodiscard]] unsigned long handle() const override { return handle_; }
  void dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) override;
  /// Writes what stands between the graph's opening line and its nodes; nothing for a plain graph.
  virtual void dump_additional_graph_data(kzr_data_manager& dm, std::ostream& os, const std::string& indent);
  /// At the end of the trace: completes the inner graphs of all composite nodes of the run, unless that is
  /// done, and gives those of this graph GraphML files of their own.
  virtual void init_sub_graphs(kzr_data_manager* dm);
  /// Decides whether the inner graph is shown; nothing to decide for a plain graph.
  virtual void set_inner_visibility(kzr_data_manager* dm);
  [[nodiscard]] void* as(symbol_class wanted) override;

  /// Switches the id to its OpenMP form, "omp" and the number of the graph that was created last.
  void set_gml_id();
  /// Appends `gml_id()` to `text`.
  void append_gml_id(text_buffer& text) const;
  /// What the names of nodes that are made now begin with; valid as long as the symbols.
  [[nodiscard]] const char* name_prefix();

  /// Takes `node` in; the graph must be its enclosing graph.
  void add_node(node_symbol& node);
  /// Takes `node` out again, at a cost that does not depend on the size of the graph.
  void remove_node(node_symbol& node);
  /// Moves `node` here from the graph that holds it. Look-ups by identifier go on finding it where it was
  /// added.
  void take_node(node_symbol& node);
  /// Gives the node that was added last under the first word of `id` the kind `handle`; null when there is
  /// none.
  node_symbol* transform_node(const ___onx_id& id, unsigned long handle);
  /// True when a node with this first word of the identifier was added.
  [[nodiscard]] bool has_node_with(std::uint64_t d1) { return find_node_with(d1) != nullptr; }
  /// All nodes in the order of their addition; places of removed nodes are null.
  [[nodiscard]] const std::vector<node_symbol*>& nodes() const { return nodes_; }
  /// All nodes by name, the order in which GraphML lists them.
  [[nodiscard]] std::vector<node_symbol*> nodes_by_name() const;

  /// Keeps `edge` under its two ports, in place of an earlier one.
  void add_edge(edge_symbol& edge);
  /// Starts to fetch the place of the edge between the two ports in the table that both operations use.
  void prefetch_edge_place(const port_symbol& source, const port_symbol& target) const;
  /// Takes the edge between the two ports out and returns it; null when there is none. Not to be called, as
  /// `add_edge`, once edges were placed.
  edge_symbol* remove_edge(const port_symbol& source, const port_symbol& target);
  /// Keeps `edge`, which came here from another graph at the end of the trace. Any number of such edges may
  /// have the same ends.
  void add_moved_edge(edge_symbol& edge) { moved_edges_.push_back(&edge); }
  /// All edges by number.
  [[nodiscard]] std::vector<edge_symbol*> edges_by_number() const;
  /// All edges that were ever added here, also those that are not live any more.
  [[nodiscard]] std::vector<edge_symbol*> added_edges() const;
  /// How many edges the graph has.
  [[nodiscard]] std::size_t count_edges() const;
  /// How many of its nodes are shown.
  [[nodiscard]] std::size_t count_visible_nodes() const;

  /// Registers a port of one of the graph's nodes for the look-ups of aliased ports.
  void add_port(const port_symbol& port);
  /// The port registered last but one under the first word of `port`'s identifier; null when there is none.
  [[nodiscard]] port_symbol* get_aliased_port(const port_symbol& port);
  /// The port registered first under the first word of `port`'s identifier; null when there is none.
  [[nodiscard]] port_symbol* get_omp_aliased_port(const port_symbol& port);

  /// Counts one more region of a node of this graph as begun.
  void increment_region(const node_symbol& node);
  /// Takes one off the count, which wraps below zero; nothing for a node that never had one.
  void decrement_region(const node_symbol& node);
  /// The count of `node`, null when it never had one.
  [[nodiscard]] const std::uint64_t* find_region_count(const node_symbol& node) const;

  /// Keeps `variable` under its identifier, in place of an earlier one.
  void add_variable(variable_symbol& variable);
  /// The variable of this graph with the identifier `id`, null when there is none.
  [[nodiscard]] variable_symbol* find_variable(const ___onx_id& id) const {
    return variables_.value_or_default(id);
  }

  /// The GraphML file that holds the graph; the data manager owns it.
  void set_file(graphml_file* file) { file_ = file; }
  /// Null for a composite node without a file of its own.
  [[nodiscard]] const graphml_file* file() const { return file_; }

  /// The port by which the graph itself is entered, and left, as a port's identifier says; null when there is
  /// none.
  void set_input_alias_port(port_symbol* port) { input_alias_port_ = port; }
  void set_output_alias_port(port_symbol* port) { output_alias_port_ = port; }
  [[nodiscard]] port_symbol* input_alias_port() const { return input_alias_port_; }
  [[nodiscard]] port_symbol* output_alias_port() const { return output_alias_port_; }

  /// The composite node that this graph is the inside of; null for a plain graph.
  [[nodiscard]] subgraph_node_symbol* composite_node() { return composite_; }
  [[nodiscard]] const subgraph_node_symbol* composite_node() const { return composite_; }

 protected:
  /// For a graph that is the inside of `composite`.
  graph_symbol(const ___onx_id& id, subgraph_node_symbol& composite, unsigned long handle);

 private:
  /// The ports under one first word that several share, but for the first one.
  struct later_ports {
    port_symbol* last_but_one = nullptr;
    port_symbol* last = nullptr;

    bool operator==(const later_ports&) const = default;
  };

  /// A condition for symbols, given by their positions: that `d1` is the first word of their identifier.
  [[nodiscard]] auto has_d1(std::uint64_t d1) const;
  /// The node that was added last under `d1`, null when there is none.
  [[nodiscard]] node_symbol* find_node_with(std::uint64_t d1);
  /// The port registered first under `d1`, null when there is none.
  [[nodiscard]] port_symbol* find_first_port(std::uint64_t d1) const;
  /// Brings the look-ups of ports up to date.
  void index_ports();
  /// Brings `nodes_by_d1_` up to date.
  void index_nodes();
  /// Calls `visit` for every edge, those of other graphs' making last.
  [[nodiscard]] edge_symbol& edge_at(std::uint32_t position) const;
  template <class Visit>
  void for_each_edge(Visit visit) const;

  graphml_file* file_ = nullptr;
  node_symbol* parent_;
  subgraph_node_symbol* composite_ = nullptr;
  const char* name_prefix_ = nullptr;
  std::string gml_id_;
  ___onx_id id_;
  unsigned long handle_;
  std::vector<node_symbol*> nodes_;
  /// Few runs look for nodes and ports by their first word, so these tables are filled by those who look: up
  /// to here they know `nodes_` and `ports_`.
  flat_index nodes_by_d1_;
  flat_index first_ports_by_d1_;
  flat_map<std::uint64_t, later_ports> later_ports_by_d1_;
  std::size_t indexed_nodes_ = 0;
  std::size_t indexed_ports_ = 0;
  /// Ports and edges are kept by their positions in the list of symbols.
  std::vector<std::uint32_t> ports_;
  /// In the order of their addition; those that are no longer live were removed or replaced.
  std::vector<std::uint32_t> added_edges_;
  /// By the ports that the trace names, which edges forget when they are placed.
  flat_index edges_;
  std::vector<edge_symbol*> moved_edges_;
  std::map<const node_symbol*, std::uint64_t> region_counts_;
  flat_map<___onx_id, variable_symbol*> variables_;
  port_symbol* output_alias_port_ = nullptr;
  port_symbol* input_alias_port_ = nullptr;
};
