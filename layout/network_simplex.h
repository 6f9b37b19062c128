#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "layout/layer_arc.h"

/// Moves the nodes of a connected graph between layers, or other places on a line, until the sum of the
/// weighted lengths of its arcs is least, or as far as the effort that it may take: layers are right at any
/// time.
///
/// A tree of arcs that are as short as can be holds all nodes together. A part that hangs on one of them and
/// that its other arcs pull away from there moves, until another arc holds it, which takes the place of the
/// first one.
class network_simplex {
 public:
  /// Borrows all; `layers` are right already.
  network_simplex(const std::vector<layer_arc>& arcs, const arcs_by_node& leaving,
                  const arcs_by_node& arriving, std::vector<std::int32_t>& layers);

  void run();

 private:
  static constexpr std::uint32_t none = UINT32_MAX;

  /// The nodes of the tree below a node stand together in `order_`, it itself last.
  struct tree_place {
    std::uint32_t parent = none;
    std::uint32_t parent_arc = none;
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    std::int64_t pull = 0;  ///< of all below, itself included: weight to the right less weight to the left
  };

  [[nodiscard]] std::int32_t slack(std::uint32_t arc) const {
    return layers_[arcs_[arc].to] - layers_[arcs_[arc].from] - arcs_[arc].length;
  }
  void grow_tree();
  void number_tree(std::uint32_t top, std::uint32_t first);
  [[nodiscard]] bool is_pulled_away(std::uint32_t node) const;
  [[nodiscard]] bool is_below(std::uint32_t node, std::uint32_t above) const {
    return places_[above].first <= places_[node].last && places_[node].last <= places_[above].last;
  }
  [[nodiscard]] std::uint32_t find_part_to_move();
  void move(std::uint32_t part);
  [[nodiscard]] std::uint32_t find_holding_arc(std::uint32_t part, bool moves_right);

  const std::vector<layer_arc>& arcs_;
  const arcs_by_node& leaving_;
  const arcs_by_node& arriving_;
  std::vector<std::int32_t>& layers_;
  std::vector<std::vector<std::uint32_t>> tree_arcs_;  ///< by node
  std::vector<tree_place> places_;
  std::vector<std::uint32_t> order_;
  std::vector<std::int64_t> own_pulls_;  ///< by node, of its own arcs
  std::uint32_t next_candidate_ = 0;
  std::size_t effort_ = 0;
  std::size_t most_effort_;
  std::vector<std::uint32_t> way_;          ///< while the tree is numbered
  std::vector<std::uint32_t> next_on_way_;  ///< by node
};
