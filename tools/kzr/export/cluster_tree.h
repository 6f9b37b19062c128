#pragma once

#include <cstdint>
#include <functional>
#include <vector>

class run_nodes;

/// Which shown node stands in which composite node.
class cluster_tree {
 public:
  explicit cluster_tree(const run_nodes& nodes);

  /// Visits every shown node: a plain one with `visit`, a composite one with `enter`, which also learns
  /// whether nothing is in it, and after what is in it with `leave`. Does not recurse: composite nodes may be
  /// nested as deep as the trace likes.
  void walk(const std::function<void(std::uint32_t node)>& visit,
            const std::function<void(std::uint32_t composite, bool is_empty)>& enter,
            const std::function<void(std::uint32_t composite)>& leave) const;

  /// Whether `node` stands in `composite`, at any depth, or is that one.
  [[nodiscard]] bool holds(std::uint32_t composite, std::uint32_t node) const {
    return places_[node] >= places_[composite] && places_[node] < ends_[composite];
  }

 private:
  /// The list of children of a composite node; that of the top is the last one.
  [[nodiscard]] std::uint32_t top() const { return static_cast<std::uint32_t>(first_child_.size() - 2); }

  std::vector<bool> is_composite_;
  std::vector<std::uint32_t> children_;     ///< by what they stand in
  std::vector<std::uint32_t> first_child_;  ///< by composite node, in `children_`
  std::vector<std::uint32_t> places_;       ///< in the order of the walk
  std::vector<std::uint32_t> ends_;         ///< the place behind all that a composite node holds
};
