#include "model/inner_graph_builder.h"

#include <algorithm>
#include <cstddef>

#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"

void inner_graph_builder::build() {
  collect_composites();
  find_innermost_ports();
  index_edges();
  claim_boundary_nodes();
  fill_all();
  hide_insides();
  show_edges();
}

void inner_graph_builder::collect_composites() {
  for (const graph_symbol* const graph : dm_.graphs()) {
    if (auto* const composite = graph->composite_node()) composites_.push_back(composite);
  }
  states_.resize(dm_.counts().nodes);
  for (const subgraph_node_symbol* const composite : composites_) {
    const subgraph_node_symbol* const around = composite->own_graph().composite_node();
    if (around != nullptr) state_of(*around).holds_composites = true;
  }
}

inner_graph_builder::node_state& inner_graph_builder::state_of(const node_symbol& node) {
  return states_[node.number()];
}

void inner_graph_builder::find_innermost_ports() {
  std::vector<port_symbol*> passed;
  const auto follow = [this, &passed](port_symbol* port) {
    passed.clear();
    // Until more is known a port stands for itself, which also ends links that come back to it.
    while (port->aliased_child() != nullptr && port->aliased_child()->outer_port() == port &&
           innermost_.emplace(port, port).second) {
      passed.push_back(port);
      port = port->aliased_child();
    }
    const auto known = innermost_.find(port);
    port_symbol* const end = known != innermost_.end() ? known->second : port;
    for (const port_symbol* const outer : passed) innermost_[outer] = end;
  };
  for (const subgraph_node_symbol* const composite : composites_) {
    for (port_symbol* const port : composite->input_ports()) follow(port);
    for (port_symbol* const port : composite->output_ports()) follow(port);
  }
}

port_symbol& inner_graph_builder::innermost(port_symbol& port) const {
  // Only few ports have an inner port, and most calls are for others.
  if (port.aliased_child() == nullptr) return port;
  const auto inner = innermost_.find(&port);
  return inner != innermost_.end() ? *inner->second : port;
}

void inner_graph_builder::index_edges() {
  // Counts first, so that all neighbours fit one array; the counts then become positions.
  neighbours_begin_.assign(dm_.counts().ports + std::size_t{1}, 0);
  const auto for_each_end = [this](auto visit) {
    for (std::uint32_t number = 0; number < dm_.edges().size(); ++number) {
      const edge_symbol& edge = dm_.edges().get(number);
      if (!edge.is_live()) continue;
      port_symbol& first = innermost(edge.first());
      port_symbol& second = innermost(edge.second());
      visit(first.number(), second);
      visit(second.number(), first);
    }
  };
  for_each_end([this](std::uint32_t port, port_symbol&) { ++neighbours_begin_[port]; });
  std::uint32_t end = 0;
  for (std::uint32_t& begin : neighbours_begin_) begin = end += begin;
  neighbours_.resize(end);
  for_each_end(
      [this](std::uint32_t port, port_symbol& other) { neighbours_[--neighbours_begin_[port]] = &other; });
}

bool inner_graph_builder::is_inside(const subgraph_node_symbol& inner,
                                    const subgraph_node_symbol& outer) const {
  const subgraph_node_symbol* composite = &inner;
  while (composite != nullptr && composite != &outer) composite = composite->own_graph().composite_node();
  return composite != nullptr;
}

/// Makes `node` a member of the composite's inner graph; false when it is one of another graph. A
/// damaged trace may say that composite nodes hold each other: the one that comes first does.
bool inner_graph_builder::claim(subgraph_node_symbol& composite, node_symbol& node) {
  node_state& state = state_of(node);
  if (!state.claimed) {
    auto* const nested = symbol_cast<subgraph_node_symbol>(&node);
    if (nested == &composite) return false;
    if (nested != nullptr) {
      if (state.holds_composites && is_inside(composite, *nested)) return false;
      state_of(composite).holds_composites = true;
    }
    state.claimed = true;
    composite.inner_graph().take_node(node);
  }
  return &node.own_graph() == &composite.inner_graph();
}

void inner_graph_builder::claim_boundary_nodes() {
  // Before any edge is followed, so that no composite node can draw in what stands behind another's ports.
  // Which composite nodes hold each other comes first: of several that say a node is theirs, the innermost
  // has it.
  for (subgraph_node_symbol* const composite : composites_) claim_boundary(*composite, true);
  order_by_depth();
  for (subgraph_node_symbol* const composite : composites_) claim_boundary(*composite, false);
}

void inner_graph_builder::claim_boundary(subgraph_node_symbol& composite, bool composites) {
  for (const auto* const aliases : {&composite.input_aliases(), &composite.output_aliases()}) {
    for (const port_alias& alias : *aliases) {
      node_symbol& node = alias.inner->node();
      const bool is_composite = symbol_cast<subgraph_node_symbol>(&node) != nullptr;
      if (is_composite == composites) claim(composite, node);
    }
  }
}

void inner_graph_builder::order_by_depth() {
  measure_levels();
  std::stable_sort(composites_.begin(), composites_.end(),
                   [this](const subgraph_node_symbol* a, const subgraph_node_symbol* b) {
                     return levels_[a->composite_number()] > levels_[b->composite_number()];
                   });
}

void inner_graph_builder::fill_all() {
  for (subgraph_node_symbol* const composite : composites_) {
    count_unlinked_ports(*composite);
    start_fill(*composite);
    while (!pending_.empty()) {
      const pending_fill next = pending_.back();
      pending_.pop_back();
      if (next.step == fill_step::start) {
        start_fill(*next.composite);
      } else {
        follow_edges(*next.composite, *next.node, next.step == fill_step::follow_to_composites);
      }
    }
  }
}

void inner_graph_builder::count_unlinked_ports(const subgraph_node_symbol& composite) {
  for (const port_symbol* const port : composite.input_ports()) {
    if (port->aliased_child() == nullptr) {
      dm_.warnings().count("Parsing composite node: Input port without aliased child found!");
    }
  }
  for (const port_symbol* const port : composite.output_ports()) {
    if (port->aliased_child() == nullptr) {
      dm_.warnings().count("Parsing Composite node: Output port without aliased child found!");
    }
  }
  for (const port_symbol* const port : composite.aliased_ports()) {
    if (port->outer_port() == nullptr) {
      dm_.warnings().count("Parsing composite node: Aliased port without parent found!");
    }
  }
}

void inner_graph_builder::start_fill(subgraph_node_symbol& composite) {
  node_state& state = state_of(composite);
  if (state.filled) return;
  state.filled = true;
  for (const port_alias& alias : composite.input_aliases()) enter(composite, alias.inner->node());
}

void inner_graph_builder::enter(subgraph_node_symbol& composite, node_symbol& node) {
  node_state& state = state_of(node);
  if (state.entered || &node.own_graph() != &composite.inner_graph()) return;
  state.claimed = true;
  state.entered = true;
  // What was pushed last is done first: an inner composite node is filled before the outer one goes on there.
  pending_.push_back({fill_step::follow_to_others, &composite, &node});
  pending_.push_back({fill_step::follow_to_composites, &composite, &node});
  if (auto* const nested = symbol_cast<subgraph_node_symbol>(&node)) {
    pending_.push_back({fill_step::start, nested, nullptr});
  }
}

void inner_graph_builder::follow_edges(subgraph_node_symbol& composite, const node_symbol& node,
                                       bool composites) {
  const auto follow = [this, &composite, composites](std::span<port_symbol* const> ports) {
    for (port_symbol* const port : ports) {
      // What is behind a port that stands for an outer one is outside.
      if (port->outer_port() != nullptr) continue;
      const std::uint32_t number = innermost(*port).number();
      for (std::uint32_t i = neighbours_begin_[number]; i < neighbours_begin_[number + 1]; ++i) {
        reach(composite, *neighbours_[i], composites);
      }
    }
  };
  follow(node.output_ports());
  follow(node.input_ports());
}

/// Takes in what stands behind `port`: its node or, when it stands for a port of another composite node, that
/// one. A node that belongs elsewhere is left there. `composites` says which kind of node is meant.
void inner_graph_builder::reach(subgraph_node_symbol& composite, port_symbol& port, bool composites) {
  const port_symbol* reached = &port;
  while (true) {
    node_symbol& node = reached->node();
    const bool is_meant = (symbol_cast<subgraph_node_symbol>(&node) != nullptr) == composites;
    if (&node.own_graph() == &composite.inner_graph()) {
      if (is_meant) enter(composite, node);
      return;
    }
    const subgraph_node_symbol* const holder = node.own_graph().composite_node();
    const bool is_beside = holder == nullptr || &node.own_graph() == &composite.own_graph();
    if (is_beside && !state_of(node).claimed) {
      if (is_meant && claim(composite, node)) enter(composite, node);
      return;
    }
    const port_symbol* const outer = reached->outer_port();
    if (holder == nullptr || outer == nullptr || &outer->node() != holder) return;
    reached = outer;
  }
}

std::uint32_t inner_graph_builder::level_of(const graph_symbol& graph) const {
  const subgraph_node_symbol* const composite = graph.composite_node();
  return composite == nullptr ? 0 : levels_[composite->composite_number()];
}

void inner_graph_builder::measure_levels() {
  levels_.assign(composites_.size(), 0);
  std::vector<subgraph_node_symbol*> way_up;
  for (subgraph_node_symbol* composite : composites_) {
    for (; composite != nullptr && levels_[composite->composite_number()] == 0;
         composite = composite->own_graph().composite_node()) {
      way_up.push_back(composite);
    }
    for (; !way_up.empty(); way_up.pop_back()) {
      levels_[way_up.back()->composite_number()] = level_of(way_up.back()->own_graph()) + 1;
    }
  }
}

/// Shows nothing of what is inside a composite node whose inside is code for another device.
void inner_graph_builder::hide_insides() {
  for (subgraph_node_symbol* const composite : composites_) {
    if (dm_.is_streaming_node(*composite)) composite->hide_inner_graph();
  }
  order_by_depth();
  // The outermost first: what is hidden hides what is inside it.
  for (auto inner = composites_.rbegin(); inner != composites_.rend(); ++inner) {
    const subgraph_node_symbol* const around = (*inner)->own_graph().composite_node();
    if (around != nullptr && !around->inner_visible()) {
      (*inner)->hide_inner_graph();
      (*inner)->set_visible(false);
    }
    if (!(*inner)->visible()) (*inner)->inner_graph().set_id_graph((*inner)->own_graph().id_graph());
  }
}

/// The innermost graph that holds all that the two hold; null when they are parts of different graphs.
graph_symbol* inner_graph_builder::find_common_graph(graph_symbol& first, graph_symbol& second) const {
  graph_symbol* a = &first;
  graph_symbol* b = &second;
  while (a != b) {
    if (level_of(*a) < level_of(*b)) std::swap(a, b);
    const subgraph_node_symbol* const composite = a->composite_node();
    if (composite == nullptr) return nullptr;
    a = &composite->own_graph();
  }
  return a;
}

void inner_graph_builder::number_composites() {
  // The composite nodes inside one another get consecutive numbers, so that being inside is one comparison.
  // They are sorted by depth, the innermost first: sizes are summed up that way, numbers given the other way.
  insides_.assign(composites_.size(), {});
  for (const subgraph_node_symbol* const composite : composites_) {
    inside& own = insides_[composite->composite_number()];
    ++own.count;
    if (const auto* const around = composite->own_graph().composite_node()) {
      insides_[around->composite_number()].count += own.count;
    }
  }
  std::uint32_t next_outermost = 0;
  for (auto composite = composites_.rbegin(); composite != composites_.rend(); ++composite) {
    inside& own = insides_[(*composite)->composite_number()];
    graph_symbol& graph = (*composite)->own_graph();
    const auto* const around = graph.composite_node();
    std::uint32_t& next = around == nullptr ? next_outermost : insides_[around->composite_number()].next;
    own.first = next;
    own.next = own.first + 1;
    own.top = around == nullptr ? &graph : insides_[around->composite_number()].top;
    next += own.count;
  }
}

/// Whether `node` stands in the inner graph of `composite`, at any depth.
bool inner_graph_builder::contains(const subgraph_node_symbol& composite, const node_symbol& node) const {
  const auto* const holder = node.own_graph().composite_node();
  if (holder == nullptr) return false;
  const inside& outer = insides_[composite.composite_number()];
  const std::uint32_t number = insides_[holder->composite_number()].first;
  return number >= outer.first && number < outer.first + outer.count;
}

/// Whether `node` stands in `graph`, at any depth.
bool inner_graph_builder::holds(const graph_symbol& graph, const node_symbol& node) const {
  if (const auto* const composite = graph.composite_node()) return contains(*composite, node);
  const auto* const holder = node.own_graph().composite_node();
  return &graph == (holder == nullptr ? &node.own_graph() : insides_[holder->composite_number()].top);
}

/// The inner port of `port`, when its node is a composite node that contains both that and `other_end`; else
/// null.
port_symbol* inner_graph_builder::find_inner_end(port_symbol& port, const node_symbol& other_end) const {
  const auto* const composite = symbol_cast<subgraph_node_symbol>(&port.node());
  if (composite == nullptr || !contains(*composite, other_end)) return nullptr;
  port_symbol* const inner = port.aliased_child();
  return inner != nullptr && contains(*composite, inner->node()) ? inner : nullptr;
}

/// The port by which `graph` shows the end `port` of an edge: that of the composite node that stands there,
/// or the outermost one that the links lead to.
port_symbol& inner_graph_builder::shown_end(const graph_symbol& graph, port_symbol& port) const {
  port_symbol* shown = &port;
  while (&shown->node().own_graph() != &graph) {
    port_symbol* const outer = shown->outer_port();
    const auto* const composite =
        outer == nullptr ? nullptr : symbol_cast<subgraph_node_symbol>(&outer->node());
    if (composite == nullptr || !contains(*composite, shown->node()) || !holds(graph, *composite)) break;
    shown = outer;
  }
  return *shown;
}

void inner_graph_builder::show_edges() {
  number_composites();
  for (std::uint32_t number = 0; number < dm_.edges().size(); ++number) {
    edge_symbol& edge = dm_.edges().get(number);
    port_symbol* first = &edge.first();
    port_symbol* second = &edge.second();
    // An edge from a composite node into itself starts, or ends, within.
    while (true) {
      if (port_symbol* const inner_first = find_inner_end(*first, second->node())) {
        first = inner_first;
      } else if (port_symbol* const inner_second = find_inner_end(*second, first->node())) {
        second = inner_second;
      } else {
        break;
      }
    }
    graph_symbol* graph = find_common_graph(first->node().own_graph(), second->node().own_graph());
    if (graph == nullptr) graph = &edge.graph();
    edge.show_in(*graph, shown_end(*graph, *first), shown_end(*graph, *second));
  }
}
