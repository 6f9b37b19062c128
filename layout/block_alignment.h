#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "layout/layered_graph.h"

/// What every alignment of a graph needs to know of it.
struct alignment_input {
  explicit alignment_input(const layered_graph& layered);

  const layered_graph& graph;
  lines_by_element at_left;              ///< from the top, by their far ends
  lines_by_element at_right;             ///< from the top, by their far ends
  std::vector<std::uint32_t> positions;  ///< of elements in their layers
  /// Lines that cross one between two bends, for which they are to make room.
  std::vector<bool> gives_way;

 private:
  void find_lines_that_give_way();
};

/// Where elements stand when each is aligned with the middle one of its neighbours in one direction, as far
/// as lines between aligned elements do not cross. What is aligned moves as one block.
class block_alignment {
 public:
  /// Aligns with neighbours on the left, or on the right; of two in the middle the upper one comes first, or
  /// the lower one, and blocks are pushed against those above, or below. Borrows the input.
  block_alignment(const alignment_input& input, bool to_left, bool is_turned);

  /// Moves blocks between those before and behind them to where their lines are short.
  void move_to_neighbours();
  /// The y of the upper sides of all elements, by the places of the blocks.
  [[nodiscard]] std::vector<std::int64_t> places() const;
  /// By element: the first one of its block.
  [[nodiscard]] std::span<const std::uint32_t> blocks() const { return blocks_; }
  /// How much lines run up and down; straight ones are worth some way.
  [[nodiscard]] std::int64_t cost() const;

 private:
  static constexpr std::uint32_t none = UINT32_MAX;

  void align();
  void align_with_middle(std::uint32_t element, std::int64_t& last_position);
  void push_together();
  void move_block(std::uint32_t block);

  // A turned alignment is computed with all heights negative, and its layers from the bottom.
  [[nodiscard]] std::int64_t begin_of(std::uint32_t element) const {
    return is_turned_ ? -input_.graph.elements[element].height : 0;
  }
  [[nodiscard]] std::int64_t end_of(std::uint32_t element) const {
    return is_turned_ ? 0 : input_.graph.elements[element].height;
  }
  [[nodiscard]] std::int64_t place_of(const layered_graph::line_end& end) const {
    return place_of(end.element) + (is_turned_ ? -end.y : end.y);
  }
  [[nodiscard]] std::int64_t place_of(std::uint32_t element) const {
    return block_places_[blocks_[element]] + shifts_[element];
  }
  [[nodiscard]] std::uint32_t neighbour(std::uint32_t element, bool before) const;
  /// From the origin of one element to that of the next one in its layer, at least.
  [[nodiscard]] std::int64_t distance(std::uint32_t element, std::uint32_t next) const;

  const alignment_input& input_;
  bool to_left_;
  bool is_turned_;
  std::vector<std::uint32_t> blocks_;       ///< by element: the first one of its block
  std::vector<std::uint32_t> next_;         ///< by element: the next one in its block
  std::vector<std::int64_t> shifts_;        ///< by element: against its block
  std::vector<std::int64_t> block_places_;  ///< by first element
  std::vector<std::uint32_t> block_order_;  ///< each block behind those above it
  std::vector<std::int64_t> ways_;          ///< of the block at hand: to where its lines would be straight
};
