#include "model/graph_symbol.h"

#include <algorithm>
#include <cstring>

#include "common/append_number.h"
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

graph_symbol::~graph_symbol() = default;

std::shared_ptr<graph_symbol> graph_symbol::get_enclosing_graph() const {
  return parent_ == nullptr ? nullptr : parent_->get_enclosing_graph();
}

std::shared_ptr<node_symbol> graph_symbol::get_parent_node() const {
  return parent_ == nullptr ? nullptr : parent_->shared_from_this();
}

std::string graph_symbol::gml_id() const { return gml_id_; }

void* graph_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }

void graph_symbol::set_gml_id() {
  gml_id_ = "omp";
  append_number(gml_id_, graph_count - 1);
}

void graph_symbol::append_gml_id(std::string& text) const {
  if (const subgraph_node_symbol* const composite = composite_node()) {
    composite->node_symbol::append_gml_id(text);
  } else {
    text += gml_id_;
  }
}

void graph_symbol::add_node(node_symbol& node) {
  node.place_in_graph_ = nodes_.size();
  nodes_.push_back(&node);
}

void graph_symbol::index_nodes() {
  for (; indexed_nodes_ < nodes_.size(); ++indexed_nodes_) {
    node_symbol* const node = nodes_[indexed_nodes_];
    nodes_by_d1_.place(node->id_.d1) = node;
  }
}

node_symbol* graph_symbol::find_node_with(std::uint64_t d1) {
  index_nodes();
  return nodes_by_d1_.value_or_default(d1);
}

void graph_symbol::remove_node(node_symbol& node) {
  index_nodes();
  nodes_[node.place_in_graph_] = nullptr;
}

void graph_symbol::take_node(node_symbol& node) {
  node.graph_->remove_node(node);
  index_nodes();
  node.graph_ = this;
  node.place_in_graph_ = nodes_.size();
  nodes_.push_back(&node);
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

/// A node and eight bytes of its name, so that most comparisons of names are one comparison of numbers.
struct named_node {
  std::uint64_t name_bytes;
  node_symbol* node;
};

std::size_t common_prefix_length(const std::vector<named_node>& nodes) {
  const std::string& first = nodes.front().node->name();
  std::size_t length = first.size();
  for (const named_node& entry : nodes) {
    const std::string& name = entry.node->name();
    length = std::min(length, name.size());
    length = static_cast<std::size_t>(
        std::mismatch(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(length), name.begin())
            .first -
        first.begin());
  }
  return length;
}

std::uint64_t bytes_behind(const std::string& name, std::size_t prefix_length) {
  std::uint64_t bytes = 0;
  const std::size_t size = std::min(sizeof bytes, name.size() - prefix_length);
  std::memcpy(&bytes, name.data() + prefix_length, size);
  return __builtin_bswap64(bytes);
}

}  // namespace

std::vector<node_symbol*> graph_symbol::nodes_by_name() const {
  std::vector<named_node> named;
  named.reserve(nodes_.size());
  for (node_symbol* const node : nodes_) {
    if (node != nullptr) named.push_back({0, node});
  }
  if (named.empty()) return {};
  const std::size_t prefix_length = common_prefix_length(named);
  for (named_node& entry : named) entry.name_bytes = bytes_behind(entry.node->name(), prefix_length);
  std::sort(named.begin(), named.end(), [](const named_node& a, const named_node& b) {
    return a.name_bytes != b.name_bytes ? a.name_bytes < b.name_bytes : a.node->name() < b.node->name();
  });
  std::vector<node_symbol*> nodes;
  nodes.reserve(named.size());
  for (const named_node& entry : named) nodes.push_back(entry.node);
  return nodes;
}

void graph_symbol::add_edge(edge_symbol& edge) {
  edge_symbol*& kept = edges_.place({&edge.first(), &edge.second()});
  if (kept != nullptr) kept->set_live(false);
  kept = &edge;
  added_edges_.push_back(&edge);
  edge.set_live(true);
}

edge_symbol* graph_symbol::remove_edge(const port_symbol& source, const port_symbol& target) {
  edge_symbol* const edge = edges_.value_or_default({&source, &target});
  if (edge != nullptr) {
    edges_.erase({&source, &target});
    edge->set_live(false);
  }
  return edge;
}

template <class Visit>
void graph_symbol::for_each_edge(Visit visit) const {
  for (edge_symbol* const edge : added_edges_) {
    if (edge->live() && &edge->graph() == this) visit(edge);
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

graph_symbol::port_group graph_symbol::ports_like(const port_symbol& port) {
  for (; indexed_ports_ < ports_.size(); ++indexed_ports_) {
    port_symbol* const added = ports_[indexed_ports_];
    port_group& group = ports_by_d1_.place(added->onx_id().d1);
    if (group.first == nullptr) group.first = added;
    group.last_but_one = group.last;
    group.last = added;
  }
  return ports_by_d1_.value_or_default(port.onx_id().d1);
}

port_symbol* graph_symbol::get_aliased_port(const port_symbol& port) { return ports_like(port).last_but_one; }

port_symbol* graph_symbol::get_omp_aliased_port(const port_symbol& port) { return ports_like(port).first; }

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
