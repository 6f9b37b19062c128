#pragma once

#include <cstdint>

#include "model/kzr_symbol.h"

class node_symbol;

/// An input or output port of a node. It calls itself the target end of an edge when it is an input, else the
/// source end, whichever end of the edge it is.
class port_symbol : public kzr_symbol {
 public:
  static constexpr symbol_class own_class = symbol_class::port;

  /// `handle` is the string handle of the port's name, 0 for none; `offset` counts the ports of one
  /// direction, mostly from 0; `number` is the port's in the run. Does not add the port to `node`.
  port_symbol(const ___onx_id& id, node_symbol& node, std::uint64_t handle, bool is_input, int offset,
              std::uint32_t number)
      : kzr_symbol(own_class, id),
        is_input_(is_input),
        offset_(offset),
        number_(number),
        node_(&node),
        handle_(handle) {}

  /// The node that the port belongs to.
  [[nodiscard]] node_symbol& node() const { return *node_; }
  /// The string handle of the port's name, 0 for none: it is then named by the first word of its identifier.
  [[nodiscard]] std::uint64_t handle() const { return handle_; }
  [[nodiscard]] bool is_input() const { return is_input_; }
  /// Position among the ports of its direction, as the last character of its name says: 0 to 9 for a digit,
  /// any other number, also a negative one, for another character.
  [[nodiscard]] int offset() const { return offset_; }
  /// Ports are numbered from 0 in the order of their creation.
  [[nodiscard]] std::uint32_t number() const { return number_; }

  /// For an outer port of a composite node, the inner port that stands for it; null when there is none.
  [[nodiscard]] port_symbol* aliased_child() const { return aliased_child_; }
  void set_aliased_child(port_symbol* port) { aliased_child_ = port; }
  /// For an inner port, the port of the composite node that it stands for; null when there is none.
  [[nodiscard]] port_symbol* outer_port() const { return outer_port_; }
  void set_outer_port(port_symbol* port) { outer_port_ = port; }

 private:
  bool is_input_;
  int offset_;
  std::uint32_t number_;
  node_symbol* node_;
  std::uint64_t handle_;
  port_symbol* aliased_child_ = nullptr;
  port_symbol* outer_port_ = nullptr;
};
