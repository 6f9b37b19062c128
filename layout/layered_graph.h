#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "layout/graph_layout.h"

/// A graph in which every line runs between neighbouring layers. Its elements are the nodes, by their
/// numbers, then the bends: the places at which edges pass layers or turn round in them.
struct layered_graph {
  static constexpr std::uint32_t none = UINT32_MAX;

  /// Where a line ends at the right or left side of an element. Slots count the places at a side from the
  /// top.
  struct line_end {
    std::uint32_t element = 0;
    std::uint32_t slot = 0;
    int y = 0;  ///< from the top of the element
  };
  struct line {
    line_end left;
    line_end right;
  };
  struct element {
    std::uint32_t layer = 0;
    int width = 0;
    int height = 0;
    std::uint32_t left_slots = 1;
    std::uint32_t right_slots = 1;
  };

  std::uint32_t node_count = 0;
  std::vector<element> elements;
  std::vector<line> lines;
  std::vector<std::vector<std::uint32_t>> layers;  ///< elements from the top
  /// By edge: its bends are the elements from the first on, one behind the other from source to target.
  struct route {
    std::uint32_t first_bend = 0;
    std::uint32_t bends = 0;
    bool is_apart = false;  ///< outside of the layers, without bends: it would pass too many
  };
  std::vector<route> routes;

  [[nodiscard]] bool is_bend(std::uint32_t number) const { return number >= node_count; }
  /// What is free at least between two elements above each other.
  [[nodiscard]] int gap_between(std::uint32_t upper, std::uint32_t lower) const {
    return is_bend(upper) || is_bend(lower) ? 10 : 24;
  }
};

/// Splits the edges of a graph whose nodes have these layers.
[[nodiscard]] layered_graph split_edges(const layout_graph& graph, std::span<const std::int32_t> layers);

/// The lines at each element's left side, or right side.
class lines_by_element {
 public:
  lines_by_element(const layered_graph& graph, layered_graph::line_end layered_graph::line::*end);

  [[nodiscard]] std::span<const std::uint32_t> at(std::uint32_t element) const {
    return {lines_.data() + first_[element], first_[element + 1] - first_[element]};
  }
  /// Sorts the lines at each element.
  template <class Key>
  void sort(Key key) {
    for (std::size_t i = 0; i + 1 < first_.size(); ++i) {
      std::ranges::sort(lines_.begin() + first_[i], lines_.begin() + first_[i + 1], {}, key);
    }
  }

 private:
  std::vector<std::uint32_t> first_;
  std::vector<std::uint32_t> lines_;
};
