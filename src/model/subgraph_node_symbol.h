#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "common/flat_map.h"
#include "model/graph_symbol.h"
#include "model/node_symbol.h"

/// That an inner port of a composite node stands for one of its own ports.
struct port_alias {
  port_symbol* outer;
  port_symbol* inner;
};

/// A composite node: a node of its enclosing graph and at once the graph of its inner nodes. Its id is that
/// of its node part, also where it is asked as a graph.
class subgraph_node_symbol : public graph_symbol, public node_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::subgraph_node;
  static constexpr bool lives_in_list = false;
  /// Number of the next composite node of the run.
  static std::uint64_t subgraph_node_count;

  /// Takes the next numbers of all three kinds. Does not add the node part to `enclosing`; create() does.
  subgraph_node_symbol(const ___onx_id& id, graph_symbol& enclosing, unsigned long handle);

  /// Makes a composite node in `symbols`, which takes the next graph, node and composite-node numbers, and
  /// adds its node part to `enclosing`.
  static std::shared_ptr<subgraph_node_symbol> create(symbol_list& symbols, const ___onx_id& id,
                                                      graph_symbol& enclosing, unsigned long handle);

  /// The graph that holds the node part, whether it is shown there or not.
  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  [[nodiscard]] std::string get_file_name() const override;
  [[nodiscard]] std::string gml_id() const override { return node_symbol::gml_id(); }
  [[nodiscard]] ___onx_id onx_id() const override { return node_symbol::onx_id(); }
  [[nodiscard]] unsigned long handle() const override { return node_symbol::handle(); }
  /// Registers the GraphML files of the composite nodes that stand in the inner graph.
  void init_sub_graphs(kzr_data_manager* dm) override;
  /// Hides the inner graph of a node of the streaming kind.
  void set_inner_visibility(kzr_data_manager* dm) override;
  /// The data of the inner graph: its size, and what stands for the outer ports.
  void dump_additional_graph_data(kzr_data_manager& dm, std::ostream& os, const std::string& indent) override;
  [[nodiscard]] graph_symbol* find_enclosing_graph() const override { return &own_graph(); }
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
  /// Forgets the composite nodes noted so far, before they are listed anew.
  void clear_nested_composites() { nested_composites_.clear(); }
  /// Gives the inner graph a GraphML file of its own, unless it has one or is not shown.
  void add_file(kzr_data_manager* dm);
  /// True when the node is of the kind whose inside is code for another device.
  [[nodiscard]] bool is_streaming_node(const kzr_data_manager& dm) const;
  /// Whether the inner graph is shown.
  [[nodiscard]] bool inner_visible() const { return inner_visible_; }
  /// Shows neither the node nor its inner graph.
  void hide();

  /// The lines of the node part, as the enclosing graph shows it.
  void dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) override;
  void append_graphml(const kzr_data_manager& dm, const string_handles& handles, text_buffer& text,
                      const std::string& indent) const override;

  /// The GraphML file made for this composite node's inner graph; null while it has none.
  [[nodiscard]] const graphml_file* own_file() const { return file(); }

  /// The number in the name of the composite node's GraphML file.
  [[nodiscard]] std::uint64_t composite_number() const { return composite_number_; }
  /// Every inner port that register_aliased_port() was given, linked or not.
  [[nodiscard]] const std::vector<port_symbol*>& aliased_ports() const { return aliased_ports_; }
  /// The composite nodes that stand in the inner graph.
  [[nodiscard]] const std::vector<subgraph_node_symbol*>& nested_composites() const {
    return nested_composites_;
  }
  /// What stands for input ports, and for output ports, of this composite node, in the order in which it was
  /// told. The nodes of the inner ports are the input-side and output-side inner nodes.
  [[nodiscard]] const std::vector<port_alias>& input_aliases() const { return input_aliases_; }
  [[nodiscard]] const std::vector<port_alias>& output_aliases() const { return output_aliases_; }

 private:
  /// A node's ports by the first word of their identifiers, the first one where several share it. Ports that
  /// are added later join at the next look-up.
  class ports_by_d1 {
   public:
    [[nodiscard]] port_symbol* find(std::span<port_symbol* const> ports, std::uint64_t d1);

   private:
    flat_map<std::uint64_t, port_symbol*> table_;
    std::size_t known_ports_ = 0;
  };

  std::uint64_t composite_number_;
  std::vector<port_symbol*> aliased_ports_;
  std::vector<port_alias> input_aliases_;
  std::vector<port_alias> output_aliases_;
  ports_by_d1 inputs_by_d1_;
  ports_by_d1 outputs_by_d1_;
  std::vector<subgraph_node_symbol*> nested_composites_;
  /// By direction and offset: how many ports from the front are known to have an inner port.
  std::map<std::pair<bool, int>, std::size_t> linked_ports_;
  bool inner_visible_ = true;
};
