#include "kzr/export/cluster_tree.h"

#include <utility>

#include "analysis/run_nodes.h"
#include "kzr/export/shown_edges.h"
#include "model/subgraph_node_symbol.h"

cluster_tree::cluster_tree(const run_nodes& nodes) : places_(nodes.size()), ends_(nodes.size()) {
  constexpr std::uint32_t nowhere = UINT32_MAX;
  const std::uint32_t top = nodes.size();
  std::vector<std::uint32_t> parents(nodes.size(), nowhere);
  // The counts become positions, each of which then moves on to the next list.
  first_child_.assign(nodes.size() + std::size_t{3}, 0);
  for (std::uint32_t node = 0; node < nodes.size(); ++node) {
    is_composite_.push_back(nodes[node].is_composite);
    if (nodes[node].shown == nullptr) continue;
    const subgraph_node_symbol* const around = find_composite_around(*nodes[node].shown);
    parents[node] = around == nullptr ? top : nodes.get(*around);
    ++first_child_[parents[node] + 2];
  }
  for (std::size_t i = 1; i < first_child_.size(); ++i) first_child_[i] += first_child_[i - 1];
  children_.resize(first_child_.back());
  for (std::uint32_t node = 0; node < nodes.size(); ++node) {
    if (parents[node] != nowhere) children_[first_child_[parents[node] + 1]++] = node;
  }
  first_child_.pop_back();

  std::uint32_t next = 0;
  walk([&](std::uint32_t node) { places_[node] = next++; },
       [&](std::uint32_t composite, bool) { places_[composite] = next++; },
       [&](std::uint32_t composite) { ends_[composite] = next; });
}

void cluster_tree::walk(const std::function<void(std::uint32_t node)>& visit,
                        const std::function<void(std::uint32_t composite, bool is_empty)>& enter,
                        const std::function<void(std::uint32_t composite)>& leave) const {
  struct level {
    std::uint32_t composite;
    std::uint32_t next;
    std::uint32_t end;
  };
  const auto level_of = [this](std::uint32_t composite) {
    return level{composite, first_child_[composite], first_child_[composite + 1]};
  };
  std::vector<level> open = {level_of(top())};
  while (true) {
    level& here = open.back();
    if (here.next == here.end) {
      if (open.size() == 1) return;
      leave(here.composite);
      open.pop_back();
      continue;
    }
    const std::uint32_t child = children_[here.next++];
    if (is_composite_[child]) {
      open.push_back(level_of(child));
      enter(child, open.back().next == open.back().end);
    } else {
      visit(child);
    }
  }
}
