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
  /// How many elements and ends of lines were looked at so far.
  [[nodiscard]] std::size_t effort() const { return effort_; }
  /// The crossings between all layers.
  [[nodiscard]] std::uint64_t count_crossings();

 private:
  /// Numbers the ends of lines at both sides of a layer from the top.
  void number_ends(std::size_t layer);
  /// Where the lines at one side of an element end in the layer there, appended to `ends_` and sorted.
  void append_far_ends(std::uint32_t element, side facing);
  [[nodiscard]] std::uint64_t count_crossings_behind(std::size_t layer);

  /// The far ends of the lines at one side of each element.
  class far_ends {
   public:
    struct end {
      std::uint32_t element;
      std::uint32_t slot;
      std::uint32_t own_slot;
    };
    far_ends(const layered_graph& graph, layered_graph::line_end layered_graph::line::*own,
             layered_graph::line_end layered_graph::line::*far);
    [[nodiscard]] std::span<const end> at(std::uint32_t element) const {
      return {ends_.data() + first_[element], first_[element + 1] - first_[element]};
    }

   private:
    std::vector<std::uint32_t> first_;
    std::vector<end> ends_;
  };

  const layered_graph& graph_;
  far_ends at_left_;
  far_ends at_right_;
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
  std::size_t effort_ = 0;
};
