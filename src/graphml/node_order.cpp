#include "graphml/node_order.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "model/graph_symbol.h"
#include "model/node_symbol.h"

namespace {

/// As `number` is compared as a text: by its digits from the front, a shorter one before those it begins.
std::uint64_t order_as_text(std::uint32_t number) {
  constexpr std::uint64_t least_with_all_digits = 1'000'000'000;
  std::uint64_t order = number;
  std::uint64_t missing_digits = 0;
  for (; order < least_with_all_digits && (order != 0 || missing_digits < 9); order *= 10) ++missing_digits;
  return order << 4 | (9 - missing_digits);
}

std::string name_of(const node_symbol& node) {
  return node.name_prefix() + "::n" + std::to_string(node.number());
}

template <class Key, class MakeKey>
std::vector<const node_symbol*> sorted_by(const std::vector<const node_symbol*>& nodes, MakeKey make_key) {
  std::vector<std::pair<Key, const node_symbol*>> keyed;
  keyed.reserve(nodes.size());
  for (const node_symbol* const node : nodes) keyed.emplace_back(make_key(*node), node);
  std::sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<const node_symbol*> sorted;
  sorted.reserve(keyed.size());
  for (const auto& [key, node] : keyed) sorted.push_back(node);
  return sorted;
}

}  // namespace

std::vector<const node_symbol*> nodes_by_name(const graph_symbol& graph) {
  std::vector<const node_symbol*> nodes;
  nodes.reserve(graph.nodes().size());
  for (const node_symbol* const node : graph.nodes()) {
    if (node != nullptr) nodes.push_back(node);
  }
  // Most names of a graph differ in the number only.
  const bool has_one_prefix = std::ranges::all_of(nodes, [&nodes](const node_symbol* node) {
    return &node->name_prefix() == &nodes.front()->name_prefix();
  });
  if (has_one_prefix) {
    return sorted_by<std::uint64_t>(nodes,
                                    [](const node_symbol& node) { return order_as_text(node.number()); });
  }
  return sorted_by<std::string>(nodes, name_of);
}
