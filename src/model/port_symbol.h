#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "model/kzr_symbol.h"

class string_handles;
class text_buffer;

/// An input or output port of a node. It calls itself the target end of an edge when it is an input, else the
/// source end, whichever end of the edge it is.
class port_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::port;
  static constexpr bool lives_in_list = true;

  /// `handle` is the string handle of the port's name, 0 for none; `offset` counts the ports of one
  /// direction, mostly from 0. Does not add the port to `node`.
  port_symbol(const ___onx_id& id, node_symbol& node, unsigned long handle, bool is_input, int offset);

  /// Makes a port in `symbols` and adds it to its node's inputs or outputs and to the graph for the node's
  /// ports.
  static std::shared_ptr<port_symbol> create(symbol_list& symbols, const ___onx_id& id, node_symbol& node,
                                             unsigned long handle, bool is_input, int offset);

  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  [[nodiscard]] std::shared_ptr<node_symbol> get_parent_node() const override;
  /// Aborts: ports are named through accessors only.
  [[nodiscard]] std::string gml_id() const override;
  [[nodiscard]] ___onx_id onx_id() const override { return id_; }
  /// The string handle of the port's name, 0 for none.
  [[nodiscard]] unsigned long handle() const override { return handle_; }
  void dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) override;
  [[nodiscard]] void* as(symbol_class wanted) override;

  /// The text by which an edge names this port as its end.
  [[nodiscard]] std::string get_gml_accessor(const kzr_data_manager& dm) const;
  /// Appends `get_gml_accessor` to `text`.
  void append_gml_accessor(const string_handles& handles, text_buffer& text) const;
  /// Appends the port's name: the text of its handle, or the first word of its identifier.
  void append_name(const string_handles& handles, text_buffer& text) const;
  /// Appends the port's GraphML line.
  void append_graphml(const string_handles& handles, text_buffer& text, const std::string& indent) const;

  /// The node that the port belongs to.
  [[nodiscard]] node_symbol& node() const { return *node_; }
  [[nodiscard]] bool is_input() const { return (direction_and_offset_ & 1) != 0; }
  /// Position among the ports of its direction, as the last character of its name says: 0 to 9 for a digit,
  /// any other number, also a negative one, for another character.
  [[nodiscard]] int offset() const { return static_cast<int>(direction_and_offset_) >> 1; }

  /// For an outer port of a composite node, the inner port that stands for it; null when there is none.
  [[nodiscard]] port_symbol* aliased_child() const { return aliased_child_; }
  void set_aliased_child(port_symbol* port) { aliased_child_ = port; }
  /// For an inner port, the port of the composite node that it stands for; null when there is none.
  [[nodiscard]] port_symbol* outer_port() const { return outer_port_; }
  void set_outer_port(port_symbol* port) { outer_port_ = port; }

 private:
  /// The direction in the lowest bit, the offset above it: four bytes, for which the base class leaves room.
  std::uint32_t direction_and_offset_;
  ___onx_id id_;
  node_symbol* node_;
  unsigned long handle_;
  port_symbol* aliased_child_ = nullptr;
  port_symbol* outer_port_ = nullptr;
};
