#include "model/graph_symbol.h"

#include <algorithm>
#include <iterator>

#include "common/append_number.h"
#include "common/text_buffer.h"
#include "model/edge_symbol.h"
#include "model/kzr_data_manager.h"
#include "model/node_symbol.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"
#include "model/variable_symbol.h"

std::uint64_t graph_symbol::graph_count = 0;

graph_symbol::graph_symbol(const ___onx_id& id, node_symbol* parent, unsigned long handle)
    : parent_(parent), gml_id_("g"), id_(id), handle_(handle) {
  append_number(gml_id_, graph_count++);
}

graph_symbol::graph_symbol(const ___onx_id& id, subgraph_node_symbol& composite, unsigned long handle)
    : graph_symbol(id, nullptr, handle) {
  composite_ = &composite;
}

graph_symbol::~graph_symbol() = default;

std::shared_ptr<graph_symbol> graph_symbol::get_enclosing_graph() const {
  return parent_ == nullptr ? nullptr : parent_->get_enclosing_graph();
}

std::shared_ptr<node_symbol> graph_symbol::get_parent_node() const {
  return parent_ == nullptr ? nullptr : share(*parent_);
}

std::string graph_symbol::gml_id() const { return gml_id_; }

void* graph_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }

void graph_symbol::set_gml_id() {
  gml_id_ = "omp";
  append_number(gml_id_, graph_count - 1);
  name_prefix_ = nullptr;
}

void graph_symbol::append_gml_id(text_buffer& text) const {
  if (const subgraph_node_symbol* const composite = composite_node()) {
    composite->node_symbol::append_gml_id(text);
  } else {
    text += gml_id_;
  }
}

const char* graph_symbol::name_prefix() {
  // The id of a composite node depends on those around it.
  if (name_prefix_ == nullptr || composite_node() != nullptr) {
    text_buffer prefix;
    append_gml_id(prefix);
    prefix += "::n";
    if (name_prefix_ == nullptr || prefix.view() != name_prefix_) name_prefix_ = list().arena().copy(prefix);
  }
  return name_prefix_;
}

auto graph_symbol::has_d1(std::uint64_t d1) const {
  return [this, d1](std::uint32_t position) { return list().get(position).onx_id().d1 == d1; };
}

void graph_symbol::add_node(node_symbol& node) {
  node.place_in_graph_ = static_cast<std::uint32_t>(nodes_.size());
  nodes_.push_back(&node);
}

void graph_symbol::index_nodes() {
  for (; indexed_nodes_ < nodes_.size(); ++indexed_nodes_) {
    const node_symbol& node = *nodes_[indexed_nodes_];
    const std::uint64_t d1 = node.id_.d1;
    nodes_by_d1_.put(spread_bits(d1), symbol_list::position_of(&node), has_d1(d1));
  }
}

node_symbol* graph_symbol::find_node_with(std::uint64_t d1) {
  index_nodes();
  return symbol_cast<node_symbol>(list().find(nodes_by_d1_.find(spread_bits(d1), has_d1(d1))));
}

void graph_symbol::remove_node(node_symbol& node) {
  index_nodes();
  nodes_[node.place_in_graph_] = nullptr;
}

void graph_symbol::take_node(node_symbol& node) {
  node.graph_->remove_node(node);
  index_nodes();
  node.graph_ = this;
  add_node(node);
  indexed_nodes_ = nodes_.size();
}

std::size_t graph_symbol::count_visible_nodes() const {
  return static_cast<std::size_t>(std::count_if(nodes_.begin(), nodes_.end(), [](const node_symbol* node) {
    return node != nullptr && node->visible();
  }));
}

void graph_symbol::init_sub_graphs(kzr_data_manager* dm) {
  if (subgraph_node_symbol::subgraph_node_count == 0) return;
  dm->complete_inner_graphs();
  for (node_symbol* const node : nodes_) {
    if (auto* const composite = symbol_cast<subgraph_node_symbol>(node)) composite->add_file(dm);
  }
}

void graph_symbol::set_inner_visibility(kzr_data_manager*) {}

node_symbol* graph_symbol::transform_node(const ___onx_id& id, unsigned long handle) {
  node_symbol* const node = find_node_with(id.d1);
  if (node != nullptr) node->set_handle(handle);
  return node;
}

namespace {

/// A node and where its number stands among numbers that are compared as texts.
struct named_node {
  std::uint64_t order;
  node_symbol* node;

  bool operator<(const named_node& other) const { return order < other.order; }
};

std::uint64_t digit_count(std::uint64_t number) {
  std::uint64_t count = 1;
  for (; number >= 10; number /= 10) ++count;
  return count;
}

/// As `number` is compared as a text: by its digits from the front, a shorter one before those it begins.
std::uint64_t order_as_text(std::uint64_t number) {
  constexpr std::uint64_t most_digits = 10;
  const std::uint64_t digits = digit_count(number);
  for (std::uint64_t i = digits; i < most_digits; ++i) number *= 10;
  return number << 4 | digits;
}

void sort_by_name(std::vector<node_symbol*>& nodes) {
  std::vector<std::pair<std::string, node_symbol*>> named;
  named.reserve(nodes.size());
  for (node_symbol* const node : nodes) named.emplace_back(node->name(), node);
  std::sort(named.begin(), named.end());
  for (std::size_t i = 0; i < named.size(); ++i) nodes[i] = named[i].second;
}

/// Sorts nodes whose names differ in the number only.
void sort_by_number_text(std::vector<node_symbol*>& nodes) {
  std::vector<named_node> named;
  named.reserve(nodes.size());
  for (node_symbol* const node : nodes) named.push_back({order_as_text(node->number()), node});
  // Nodes stand in the order of their numbers, unless some came from other graphs. Numbers of as many digits
  // are in the right order then, so that there are few runs to merge, each ten times the size of those before
  // it.
  for (auto sorted_end = named.begin(); sorted_end != named.end();) {
    const auto run_end = std::is_sorted_until(sorted_end, named.end());
    if (run_end != named.end() && run_end - sorted_end < sorted_end - named.begin()) {
      std::sort(sorted_end, named.end());
      std::inplace_merge(named.begin(), sorted_end, named.end());
      break;
    }
    std::inplace_merge(named.begin(), sorted_end, run_end);
    sorted_end = run_end;
  }
  for (std::size_t i = 0; i < named.size(); ++i) nodes[i] = named[i].node;
}

}  // namespace

std::vector<node_symbol*> graph_symbol::nodes_by_name() const {
  std::vector<node_symbol*> nodes;
  nodes.reserve(nodes_.size());
  std::ranges::copy_if(nodes_, std::back_inserter(nodes),
                       [](const node_symbol* node) { return node != nullptr; });
  const bool same_prefix = std::ranges::all_of(nodes, [&nodes](const node_symbol* node) {
    return node->name_prefix() == nodes.front()->name_prefix();
  });
  if (same_prefix) {
    sort_by_number_text(nodes);
  } else {
    sort_by_name(nodes);
  }
  return nodes;
}

namespace {

std::uint64_t hash_of(const port_symbol& source, const port_symbol& target) {
  return spread_bits(std::uint64_t{symbol_list::position_of(&source)} << 32 |
                     symbol_list::position_of(&target));
}

}  // namespace

edge_symbol& graph_symbol::edge_at(std::uint32_t position) const {
  return static_cast<edge_symbol&>(list().get(position));
}

void graph_symbol::add_edge(edge_symbol& edge) {
  const std::uint32_t position = symbol_list::position_of(&edge);
  const std::uint32_t replaced =
      edges_.put(hash_of(edge.first(), edge.second()), position, [this, &edge](std::uint32_t other) {
        return &edge_at(other).first() == &edge.first() && &edge_at(other).second() == &edge.second();
      });
  if (replaced != 0) edge_at(replaced).set_live(false);
  added_edges_.push_back(position);
  edge.set_live(true);
}

void graph_symbol::prefetch_edge_place(const port_symbol& source, const port_symbol& target) const {
  edges_.prefetch(hash_of(source, target));
}

edge_symbol* graph_symbol::remove_edge(const port_symbol& source, const port_symbol& target) {
  const std::uint32_t position =
      edges_.erase(hash_of(source, target), [this, &source, &target](std::uint32_t other) {
        return &edge_at(other).first() == &source && &edge_at(other).second() == &target;
      });
  if (position == 0) return nullptr;
  edge_at(position).set_live(false);
  return &edge_at(position);
}

std::vector<edge_symbol*> graph_symbol::added_edges() const {
  std::vector<edge_symbol*> edges;
  edges.reserve(added_edges_.size());
  for (const std::uint32_t position : added_edges_) edges.push_back(&edge_at(position));
  return edges;
}

template <class Visit>
void graph_symbol::for_each_edge(Visit visit) const {
  for (const std::uint32_t position : added_edges_) {
    edge_symbol& edge = edge_at(position);
    if (edge.live() && &edge.graph() == this) visit(&edge);
  }
  for (edge_symbol* const edge : moved_edges_) visit(edge);
}

std::size_t graph_symbol::count_edges() const {
  std::size_t count = 0;
  for_each_edge([&count](const edge_symbol*) { ++count; });
  return count;
}

std::vector<edge_symbol*> graph_symbol::edges_by_number() const {
  std::vector<edge_symbol*> edges;
  edges.reserve(edges_.size() + moved_edges_.size());
  // Only edges from other graphs can be out of order.
  for_each_edge([&edges](edge_symbol* edge) { edges.push_back(edge); });
  if (!moved_edges_.empty()) {
    std::sort(edges.begin(), edges.end(),
              [](const edge_symbol* a, const edge_symbol* b) { return a->number() < b->number(); });
  }
  return edges;
}

void graph_symbol::add_port(const port_symbol& port) { ports_.push_back(symbol_list::position_of(&port)); }

port_symbol* graph_symbol::find_first_port(std::uint64_t d1) const {
  return static_cast<port_symbol*>(list().find(first_ports_by_d1_.find(spread_bits(d1), has_d1(d1))));
}

void graph_symbol::index_ports() {
  for (; indexed_ports_ < ports_.size(); ++indexed_ports_) {
    const std::uint32_t position = ports_[indexed_ports_];
    auto& added = static_cast<port_symbol&>(list().get(position));
    const std::uint64_t d1 = added.onx_id().d1;
    if (port_symbol* const first = find_first_port(d1)) {
      later_ports& later = later_ports_by_d1_.place(d1);
      later.last_but_one = later.last != nullptr ? later.last : first;
      later.last = &added;
    } else {
      first_ports_by_d1_.put(spread_bits(d1), position, has_d1(d1));
    }
  }
}

port_symbol* graph_symbol::get_aliased_port(const port_symbol& port) {
  index_ports();
  return later_ports_by_d1_.value_or_default(port.onx_id().d1).last_but_one;
}

port_symbol* graph_symbol::get_omp_aliased_port(const port_symbol& port) {
  index_ports();
  return find_first_port(port.onx_id().d1);
}

void graph_symbol::add_variable(variable_symbol& variable) {
  variables_.place(variable.onx_id()) = &variable;
}

void graph_symbol::increment_region(const node_symbol& node) { ++region_counts_[&node]; }

void graph_symbol::decrement_region(const node_symbol& node) {
  const auto count = region_counts_.find(&node);
  if (count != region_counts_.end()) --count->second;
}

const std::uint64_t* graph_symbol::find_region_count(const node_symbol& node) const {
  const auto count = region_counts_.find(&node);
  return count == region_counts_.end() ? nullptr : &count->second;
}
