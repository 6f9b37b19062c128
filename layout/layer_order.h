#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "layout/layered_graph.h"

/// The order of elements within layers, where that puts the ends of lines, and what of them crosses.
class layer_order {
 public:
  enum class side : std::uint8_t { left, right };

  /// Borrows the graph, whose layers are the order to begin with.
  explicit layer_order(const layered_graph& graph);

  [[nodiscard]] const std::vector<std::vector<std::uint32_t>>& layers() const { return layers_; }
  void set_layers(const std::vector<std::vector<std::uint32_t>>& layers);

  /// Sorts a layer by where its lines of one side end in the layer there; `takes_median` of several, else
  /// their mean. Elements without lines there keep their places, those with equal ones their order, which is
  /// turned round first when `turns_ties`.
  void sort_layer(std::size_t layer, side facing, bool takes_median, bool turns_ties);
  /// Exchanges neighbours in a layer while that makes crossings fewer; whether any were.
  bool exchange_neighbours(std::size_t layer);
  /// The crossings between all layers.
  [[nodiscard]] std::uint64_t count_crossings();

 private:
  /// Numbers the ends of lines at both sides of a layer from the top.
  void number_ends(std::size_t layer);
  [[nodiscard]] std::uint32_t left_end_of(const layered_graph::line& line) const {
    return first_right_end_[line.left.element] + line.left.slot;
  }
  [[nodiscard]] std::uint32_t right_end_of(const layered_graph::line& line) const {
    return first_left_end_[line.right.element] + line.right.slot;
  }
  /// Where the lines at one side of an element end in the layer there, appended to `ends_` and sorted.
  void append_far_ends(std::uint32_t element, side facing);
  [[nodiscard]] std::uint64_t count_crossings_behind(std::size_t layer);

  const layered_graph& graph_;
  lines_by_element at_left_;
  lines_by_element at_right_;
  std::vector<std::vector<std::uint32_t>> layers_;
  std::vector<std::uint32_t> first_left_end_;   ///< by element
  std::vector<std::uint32_t> first_right_end_;  ///< by element
  // Of the layer at hand.
  struct place {
    double wanted;
    std::uint32_t element;
  };
  std::vector<place> places_;
  std::vector<std::uint32_t> ends_;
  std::vector<std::uint32_t> counts_;
  std::vector<std::uint64_t> pairs_;
};
