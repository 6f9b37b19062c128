#pragma once

#include <cstdint>
#include <vector>

/// That one node is to stand behind another, by `length` at least, mostly in a layer right of its. Several
/// edges between the same nodes are one arc of their weight.
struct layer_arc {
  std::uint32_t from = 0;
  std::uint32_t to = 0;
  std::int64_t weight = 1;
  std::int32_t length = 1;
};

/// The arcs at each node, by their numbers.
class arcs_by_node {
 public:
  arcs_by_node(std::uint32_t node_count, const std::vector<layer_arc>& arcs, std::uint32_t layer_arc::*end);

  [[nodiscard]] const std::uint32_t* begin(std::uint32_t node) const { return arcs_.data() + first_[node]; }
  [[nodiscard]] const std::uint32_t* end(std::uint32_t node) const { return arcs_.data() + first_[node + 1]; }
  [[nodiscard]] std::uint32_t size(std::uint32_t node) const { return first_[node + 1] - first_[node]; }

 private:
  std::vector<std::uint32_t> first_;
  std::vector<std::uint32_t> arcs_;
};
