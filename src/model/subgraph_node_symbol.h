#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/hash.h"
#include "model/graph_symbol.h"
#include "model/node_symbol.h"

struct graphml_file;

/// That an inner port of a composite node stands for one of its own ports.
struct port_alias {
  port_symbol* outer;
  port_symbol* inner;
};

/// A composite node: a node that has a graph of inner nodes. Under its identifier it is found as a node and
/// as that graph, whose GraphML id is the node's.
class subgraph_node_symbol : public node_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::subgraph_node;

  /// `number` is that of the node, `composite_number` that among the composite nodes of the run.
  subgraph_node_symbol(const ___onx_id& id, graph_symbol& graph, std::uint64_t handle, std::uint32_t number,
                       std::uint32_t composite_number)
      : node_symbol(own_class, id, graph, handle, number),
        inner_graph_(id, *this),
        composite_number_(composite_number) {}

  [[nodiscard]] graph_symbol& inner_graph() { return inner_graph_; }
  [[nodiscard]] const graph_symbol& inner_graph() const { return inner_graph_; }
  /// The number in the name of the composite node's GraphML file.
  [[nodiscard]] std::uint32_t composite_number() const { return composite_number_; }

  /// Notes that `inner` stands for the port of this composite node with the same first word of the
  /// identifier, an input port before an output port. Without such a port it is kept without links.
  void register_aliased_port(port_symbol& inner);
  /// The first port of this composite node with the direction and offset that no inner port stands for; null
  /// when there is none.
  [[nodiscard]] port_symbol* find_free_port(bool is_input, int offset);
  /// Makes `inner` stand for `outer`, a port of this composite node.
  void link_ports(port_symbol& outer, port_symbol& inner);

  /// Every inner port that register_aliased_port() was given, linked or not.
  [[nodiscard]] const std::vector<port_symbol*>& aliased_ports() const { return aliased_ports_; }
  /// What stands for input ports, and for output ports, of this composite node, in the order in which it was
  /// told.
  [[nodiscard]] const std::vector<port_alias>& input_aliases() const { return input_aliases_; }
  [[nodiscard]] const std::vector<port_alias>& output_aliases() const { return output_aliases_; }

  /// Whether the inner graph is shown.
  [[nodiscard]] bool inner_visible() const { return inner_visible_; }
  void hide_inner_graph() { inner_visible_ = false; }

  /// The GraphML file of the inner graph; null while it has none.
  [[nodiscard]] const graphml_file* file() const { return file_; }
  void set_file(const graphml_file& file) { file_ = &file; }

 private:
  /// A node's ports by the first word of their identifiers, the first one where several share it. Ports that
  /// are added later join at the next look-up.
  class ports_by_d1 {
   public:
    [[nodiscard]] port_symbol* find(std::span<port_symbol* const> ports, std::uint64_t d1);

   private:
    std::unordered_map<std::uint64_t, port_symbol*, seeded_hash> table_;
    std::size_t known_ports_ = 0;
  };

  graph_symbol inner_graph_;
  std::uint32_t composite_number_;
  bool inner_visible_ = true;
  const graphml_file* file_ = nullptr;
  std::vector<port_symbol*> aliased_ports_;
  std::vector<port_alias> input_aliases_;
  std::vector<port_alias> output_aliases_;
  ports_by_d1 inputs_by_d1_;
  ports_by_d1 outputs_by_d1_;
  /// By direction and offset: how many ports from the front are known to have an inner port.
  std::map<std::pair<bool, int>, std::size_t> linked_ports_;
};
