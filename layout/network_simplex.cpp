#include "layout/network_simplex.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <queue>
#include <utility>

namespace {
/// Nodes and arcs looked at for each one there is, and in all.
constexpr std::size_t effort_for_each = 300;
constexpr std::size_t greatest_effort = 4'000'000;
}  // namespace

network_simplex::network_simplex(const std::vector<layer_arc>& arcs, const arcs_by_node& leaving,
                                 const arcs_by_node& arriving, std::vector<std::int32_t>& layers)
    : arcs_(arcs),
      leaving_(leaving),
      arriving_(arriving),
      layers_(layers),
      tree_arcs_(layers.size()),
      places_(layers.size()),
      order_(layers.size()),
      own_pulls_(layers.size()),
      most_effort_(std::min(greatest_effort, effort_for_each * (layers.size() + arcs.size()))),
      next_on_way_(layers.size()) {
  for (const layer_arc& arc : arcs) {
    own_pulls_[arc.from] += arc.weight;
    own_pulls_[arc.to] -= arc.weight;
  }
}

void network_simplex::run() {
  if (layers_.size() < 2) return;
  grow_tree();
  number_tree(0, 0);
  for (std::uint32_t part = find_part_to_move(); part != none; part = find_part_to_move()) move(part);
}

/// Joins the nearest node again and again, and moves what is joined up to it.
void network_simplex::grow_tree() {
  // What was joined moves as one, so lengths are kept as if it stood still: `moved` is what to add.
  using candidate = std::pair<std::int32_t, std::uint32_t>;
  using nearest_first = std::priority_queue<candidate, std::vector<candidate>, std::greater<>>;
  nearest_first leaving;
  nearest_first arriving;
  std::vector<bool> is_joined(layers_.size());
  std::int32_t moved = 0;
  const auto join = [&](std::uint32_t node) {
    is_joined[node] = true;
    for (const std::uint32_t* arc = leaving_.begin(node); arc != leaving_.end(node); ++arc) {
      if (!is_joined[arcs_[*arc].to]) leaving.emplace(slack(*arc) + moved, *arc);
    }
    for (const std::uint32_t* arc = arriving_.begin(node); arc != arriving_.end(node); ++arc) {
      if (!is_joined[arcs_[*arc].from]) arriving.emplace(slack(*arc) - moved, *arc);
    }
    layers_[node] -= moved;
  };
  join(0);
  while (true) {
    while (!leaving.empty() && is_joined[arcs_[leaving.top().second].to]) leaving.pop();
    while (!arriving.empty() && is_joined[arcs_[arriving.top().second].from]) arriving.pop();
    if (leaving.empty() && arriving.empty()) break;
    const bool leaves =
        arriving.empty() || (!leaving.empty() && leaving.top().first - moved <= arriving.top().first + moved);
    const auto [length, arc] = leaves ? leaving.top() : arriving.top();
    moved = leaves ? length : -length;
    tree_arcs_[arcs_[arc].from].push_back(arc);
    tree_arcs_[arcs_[arc].to].push_back(arc);
    join(leaves ? arcs_[arc].to : arcs_[arc].from);
  }
}

/// Numbers what is below `top`, whose own parent is known, from `first` on.
void network_simplex::number_tree(std::uint32_t top, std::uint32_t first) {
  const auto enter = [this, &first](std::uint32_t node) {
    next_on_way_[node] = 0;
    places_[node].first = first;
    places_[node].pull = own_pulls_[node];
    way_.push_back(node);
  };
  enter(top);
  while (!way_.empty()) {
    const std::uint32_t node = way_.back();
    if (next_on_way_[node] < tree_arcs_[node].size()) {
      const std::uint32_t arc = tree_arcs_[node][next_on_way_[node]++];
      if (arc == places_[node].parent_arc) continue;
      const std::uint32_t child = arcs_[arc].from == node ? arcs_[arc].to : arcs_[arc].from;
      places_[child].parent = node;
      places_[child].parent_arc = arc;
      enter(child);
      continue;
    }
    way_.pop_back();
    places_[node].last = first;
    order_[first++] = node;
    if (!way_.empty()) places_[way_.back()].pull += places_[node].pull;
    ++effort_;
  }
}

/// Whether the arcs of the part below `node` pull it away from what it hangs on.
bool network_simplex::is_pulled_away(std::uint32_t node) const {
  const tree_place& place = places_[node];
  if (place.parent == none) return false;
  return arcs_[place.parent_arc].from == node ? place.pull < 0 : place.pull > 0;
}

/// The one that is pulled most among the next few; none when nothing is left to do or the effort is spent.
std::uint32_t network_simplex::find_part_to_move() {
  constexpr int most_candidates = 30;
  std::uint32_t best = none;
  int candidates = 0;
  const auto node_count = static_cast<std::uint32_t>(layers_.size());
  for (std::uint32_t i = 0; i < node_count && candidates < most_candidates; ++i) {
    ++effort_;
    const std::uint32_t node = next_candidate_;
    next_candidate_ = node + 1 == node_count ? 0 : node + 1;
    if (!is_pulled_away(node)) continue;
    ++candidates;
    if (best == none || std::abs(places_[node].pull) > std::abs(places_[best].pull)) best = node;
  }
  return effort_ < most_effort_ ? best : none;
}

void network_simplex::move(std::uint32_t part) {
  const tree_place place = places_[part];
  const bool moves_right = arcs_[place.parent_arc].to == part;
  const std::uint32_t holding = find_holding_arc(part, moves_right);
  // An arc that pulls leads out of the part, so there is one that holds it in the end.
  const std::int32_t way = moves_right ? slack(holding) : -slack(holding);
  for (std::uint32_t i = place.first; i <= place.last; ++i) layers_[order_[i]] += way;

  for (const std::uint32_t end : {part, place.parent}) std::erase(tree_arcs_[end], place.parent_arc);
  for (const std::uint32_t end : {arcs_[holding].from, arcs_[holding].to}) {
    tree_arcs_[end].push_back(holding);
    effort_ += tree_arcs_[end].size();
  }
  // All that changes is below the first node that is above both ends of the new arc and the old one.
  std::uint32_t top = place.parent;
  while (!is_below(arcs_[holding].from, top) || !is_below(arcs_[holding].to, top)) top = places_[top].parent;
  number_tree(top, places_[top].first);
}

/// The arc between the part and the rest that holds the part first when it moves.
std::uint32_t network_simplex::find_holding_arc(std::uint32_t part, bool moves_right) {
  const tree_place place = places_[part];
  std::uint32_t nearest = none;
  const auto look_at = [&](std::uint32_t arc, std::uint32_t other) {
    ++effort_;
    if (is_below(other, part)) return;
    if (nearest == none || slack(arc) < slack(nearest)) nearest = arc;
  };
  for (std::uint32_t i = place.first; i <= place.last; ++i) {
    const std::uint32_t node = order_[i];
    const arcs_by_node& arcs = moves_right ? leaving_ : arriving_;
    for (const std::uint32_t* arc = arcs.begin(node); arc != arcs.end(node); ++arc) {
      look_at(*arc, moves_right ? arcs_[*arc].to : arcs_[*arc].from);
    }
  }
  return nearest;
}
