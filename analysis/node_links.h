#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

class kzr_data_manager;
class run_nodes;

/// From which nodes to which edges lead. Filled with add() and mark_composite(), then closed, then read.
class node_links {
 public:
  explicit node_links(std::uint32_t node_count) : is_composite_(node_count) {}

  void add(std::uint32_t source, std::uint32_t target) { links_.emplace_back(target, source); }
  void mark_composite(std::uint32_t node) { is_composite_[node] = true; }
  void close();

  /// All nodes are below.
  [[nodiscard]] std::uint32_t node_count() const { return static_cast<std::uint32_t>(is_composite_.size()); }
  [[nodiscard]] bool is_composite(std::uint32_t node) const { return is_composite_[node]; }
  /// The nodes with an edge to `node`, ascending, each once.
  [[nodiscard]] std::span<const std::uint32_t> sources_of(std::uint32_t node) const {
    return {sources_.data() + first_source_[node], first_source_[node + 1] - first_source_[node]};
  }

 private:
  std::vector<bool> is_composite_;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> links_;  ///< target and source
  std::vector<std::uint32_t> sources_;
  std::vector<std::size_t> first_source_;
};

/// The edges that the run ever made, between the nodes that they lead to inside composite nodes. Adds those
/// to `nodes` that are not in yet, and those at their ends. The model must be complete.
[[nodiscard]] node_links find_links(const kzr_data_manager& model, run_nodes& nodes);

/// Answers which nodes are before which: those that ran and from which an edge leads there, or several over
/// composite nodes and nodes that did not run.
class node_order {
 public:
  /// Borrows the links; `has_run` says of each node whether it ran.
  node_order(const node_links& links, std::vector<bool> has_run);
  node_order(const node_order&) = delete;
  node_order& operator=(const node_order&) = delete;

  /// Whether `before` is one of the nodes before `node`.
  [[nodiscard]] bool is_before(std::uint32_t before, std::uint32_t node);

 private:
  [[nodiscard]] bool is_looked_through(std::uint32_t node) const {
    return links_.is_composite(node) || !has_run_[node];
  }
  void find_hubs();
  void find_stand_ins();
  [[nodiscard]] std::span<const std::uint32_t> hubs_of(std::uint32_t node) const {
    return {hubs_.data() + first_hub_[node], first_hub_[node + 1] - first_hub_[node]};
  }
  /// The nodes before `node`, ascending; valid until the next call.
  [[nodiscard]] std::span<const std::uint32_t> nodes_before(std::uint32_t node);
  [[nodiscard]] std::vector<std::uint32_t> collect_before(std::uint32_t node);

  const node_links& links_;
  std::vector<bool> has_run_;
  std::vector<std::uint32_t> hubs_;  ///< of each node: those of its sources that are looked through
  std::vector<std::size_t> first_hub_;
  /// By node: one that has the same nodes before it.
  std::vector<std::uint32_t> stand_ins_;
  /// By node: what was found, one more than the index in `found_`, 0 before it is looked for.
  std::vector<std::uint32_t> found_of_;
  std::vector<std::vector<std::uint32_t>> found_;
  std::size_t found_size_ = 0;
  std::uint32_t searches_ = 0;
  std::vector<std::uint32_t> visited_by_;  ///< by node: the search that visited it last
};
