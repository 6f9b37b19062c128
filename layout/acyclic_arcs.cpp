#include "layout/acyclic_arcs.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace {

void join_equal_arcs(std::vector<layer_arc>& arcs) {
  std::ranges::sort(arcs, {}, [](const layer_arc& arc) { return std::tuple(arc.from, arc.to); });
  std::size_t kept = 0;
  for (const layer_arc& arc : arcs) {
    if (kept > 0 && arcs[kept - 1].from == arc.from && arcs[kept - 1].to == arc.to) {
      arcs[kept - 1].weight += arc.weight;
    } else {
      arcs[kept++] = arc;
    }
  }
  arcs.resize(kept);
}

/// Walks along all arcs, deep first, and turns those that lead back onto the way taken.
class back_arc_turner {
 public:
  back_arc_turner(std::uint32_t node_count, std::vector<layer_arc>& arcs)
      : arcs_(arcs), leaving_(node_count, arcs, &layer_arc::from), next_(node_count), states_(node_count) {}

  void walk_from(std::uint32_t start) {
    if (states_[start] != state::unseen) return;
    enter(start);
    while (!way_.empty()) {
      const std::uint32_t node = way_.back();
      if (next_[node] == leaving_.size(node)) {
        states_[node] = state::done;
        way_.pop_back();
        continue;
      }
      const std::uint32_t arc = leaving_.begin(node)[next_[node]++];
      const std::uint32_t target = arcs_[arc].to;
      if (states_[target] == state::unseen) enter(target);
      // Turned at the end: the walk still needs to know where arcs leave.
      else if (states_[target] == state::on_way)
        back_arcs_.push_back(arc);
    }
  }
  void turn_back_arcs() {
    for (const std::uint32_t arc : back_arcs_) std::swap(arcs_[arc].from, arcs_[arc].to);
  }

 private:
  enum class state : std::uint8_t { unseen, on_way, done };

  void enter(std::uint32_t node) {
    states_[node] = state::on_way;
    way_.push_back(node);
  }

  std::vector<layer_arc>& arcs_;
  arcs_by_node leaving_;
  std::vector<std::uint32_t> next_;
  std::vector<state> states_;
  std::vector<std::uint32_t> way_;
  std::vector<std::uint32_t> back_arcs_;
};

}  // namespace

std::vector<layer_arc> find_acyclic_arcs(const layout_graph& graph) {
  const auto node_count = static_cast<std::uint32_t>(graph.nodes.size());
  std::vector<layer_arc> arcs;
  arcs.reserve(graph.edges.size());
  std::vector<bool> is_target(node_count);
  for (const auto& [source, target] : graph.edges) {
    const layer_arc arc{graph.ports[source].node, graph.ports[target].node};
    if (arc.from == arc.to) continue;
    arcs.push_back(arc);
    is_target[arc.to] = true;
  }
  join_equal_arcs(arcs);
  back_arc_turner turner(node_count, arcs);
  // A walk that begins where data come in goes the way that they flow.
  for (std::uint32_t node = 0; node < node_count; ++node) {
    if (!is_target[node]) turner.walk_from(node);
  }
  for (std::uint32_t node = 0; node < node_count; ++node) turner.walk_from(node);
  turner.turn_back_arcs();
  join_equal_arcs(arcs);
  return arcs;
}
