#pragma once

#include <functional>
#include <unordered_map>
#include <vector>

class edge_symbol;
class node_symbol;
class port_symbol;

/// The ends of an edge. Each port says itself which one it is; where both are of one kind, the edge leads
/// from the first written to the second.
struct edge_ends {
  const port_symbol* source;
  const port_symbol* target;
};

[[nodiscard]] edge_ends ends_of(const edge_symbol& edge);

/// Follows the links from ports of composite nodes to those inside that stand for them.
class inner_ends {
 public:
  using node_filter = std::function<bool(const node_symbol&)>;

  /// Ends are at nodes that pass `filter`; all do that where there is none.
  explicit inner_ends(node_filter filter = {}) : passes_(std::move(filter)) {}

  /// The innermost port at a node that passes on the way from `port`, which may be `port` itself; null where
  /// there is none.
  [[nodiscard]] const port_symbol* find(const port_symbol& port);

 private:
  node_filter passes_;
  std::unordered_map<const port_symbol*, const port_symbol*> known_;
  std::vector<const port_symbol*> passed_;
};
