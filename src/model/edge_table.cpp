#include "model/edge_table.h"

#include "common/hash.h"
#include "model/port_symbol.h"

namespace {
std::uint64_t hash_of(const port_symbol& source, const port_symbol& target) {
  return seeded_hash{}(std::uint64_t{source.number()} << 32 | target.number());
}
}  // namespace

auto edge_table::is_between(const graph_symbol& graph, const port_symbol& source,
                            const port_symbol& target) const {
  return [this, &graph, &source, &target](std::uint32_t number_and_one) {
    const edge_symbol& edge = edges_[number_and_one - 1];
    return &edge.first() == &source && &edge.second() == &target && &edge.graph() == &graph;
  };
}

edge_symbol& edge_table::add(graph_symbol& graph, port_symbol& source, port_symbol& target) {
  edge_symbol& edge = edges_.emplace_back(graph, source, target, size());
  const std::uint32_t replaced =
      live_edges_.put(hash_of(source, target), edge.number() + 1, is_between(graph, source, target));
  if (replaced != 0) edges_[replaced - 1].end_life();
  return edge;
}

const edge_symbol* edge_table::remove(const graph_symbol& graph, const port_symbol& source,
                                      const port_symbol& target) {
  const std::uint32_t removed = live_edges_.erase(hash_of(source, target), is_between(graph, source, target));
  if (removed == 0) return nullptr;
  edges_[removed - 1].end_life();
  return &edges_[removed - 1];
}

void edge_table::prefetch(const port_symbol& source, const port_symbol& target) const {
  live_edges_.prefetch(hash_of(source, target));
}
