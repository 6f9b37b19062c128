#include "model/graphml_keys.h"

#include <algorithm>

#include "common/kzr_assert.h"

namespace {
// As many inputs and as many outputs of a composite node can carry keys.
constexpr int aliased_ports_with_keys = 10;
}  // namespace

graphml_keys::graphml_keys() {
  add("all::node", "all", "string", "object_name", "object_name");
  add("all", "all", "string", "decl", "decl");
  add("all::node", "node", "string", "description", "description");
  // The attribute's name ends in a full stop, the name it is looked up under does not.
  add("all::node", "node", "string", "line_no.", "line_no");
  add("all::node", "node", "string", "node_type", "node_type");
  add("all::node", "node", "string", "plugin", "plugin");
  add("all::node", "node", "double", "weight", "weight");
  object_name_ = get_id("object_name");
  line_no_ = get_id("line_no");
  node_type_ = get_id("node_type");
  plugin_ = get_id("plugin");
}

void graphml_keys::add_flow_graph_keys() {
  if (flow_graph_keys_.count > 0) return;
  flow_graph_keys_.first = keys_.size();
  const auto add_node_key = [this](const char* name_space, const char* type, const char* name) {
    add(name_space, "node", type, name, name);
  };
  add_node_key("all::node::pwl::source_node", "boolean", "active");
  add_node_key("all::node::pwl", "string", "allocator");
  add_node_key("all::node::pwl", "string", "body_construction");
  add_node_key("all::node::pwl::join_node", "string", "buffer_policy");
  add_node_key("all::node::pwl::function_node all::node::pwl::multifunction_node", "string", "concurrency");
  add_node_key("all::node::pwl::continue_node all::node::pwl::limiter_node", "int",
               "initial_predecessor_count");
  add_node_key("all::node::pwl::limiter_node", "int", "limit");
  add_node_key("all::node::pwl", "string", "virtual_address");
  flow_graph_keys_.count = keys_.size() - flow_graph_keys_.first;
  join_policy_ = get_id("buffer_policy");
}

void graphml_keys::add_streaming_node_key() {
  if (streaming_node_key_.count > 0) return renumber(streaming_node_key_);
  streaming_node_key_ = {keys_.size(), 1};
  add("all::node::pwl::streaming_node", "node", "int", "using_factory", "factory");
}

void graphml_keys::add_composite_node_keys() {
  if (composite_node_keys_.count > 0) return renumber(composite_node_keys_);
  composite_node_keys_.first = keys_.size();
  constexpr const char* composite = "all::node::qzd::subgraph_node";
  add(composite, "node", "string", "subgraph_reference", "subgraph_reference");
  for (int i = 0; i < aliased_ports_with_keys; ++i) {
    const std::string number = std::to_string(i);
    const std::string input = "Input " + number;
    const std::string output = "Output " + number;
    add(composite, "node", "string", input, input);
    add(composite, "node", "string", output, output);
    add("all::graph::" + input, "graph", "string", "Alias Node", "Input Alias Node " + number);
    add("all::graph::" + input, "graph", "string", "Alias Port", "Input Alias Port " + number);
    add("all::graph::" + output, "graph", "string", "Alias Node", "Output Alias Node " + number);
    add("all::graph::" + output, "graph", "string", "Alias Port", "Output Alias Port " + number);
  }
  add("all::graph", "graph", "string", "concurrency_list", "concurrency_list");
  add("all::graph", "graph", "int", "no_of_data_elements", "no_of_data_elements");
  add("all::graph", "graph", "int", "no_of_nodes", "no_of_nodes");
  add("all::graph", "graph", "int", "no_of_edges", "no_of_edges");
  composite_node_keys_.count = keys_.size() - composite_node_keys_.first;
}

std::string graphml_keys::get_id(std::string_view name) const {
  const auto key = std::ranges::find(keys_, name, &key_symbol::name);
  if (key == keys_.end()) kzr_fail("ERROR: Unknown key " + std::string(name));
  return key->gml_id();
}

std::vector<key_symbol> graphml_keys::by_number() const {
  std::vector<key_symbol> sorted = keys_;
  std::ranges::sort(sorted, {}, &key_symbol::number);
  return sorted;
}

void graphml_keys::add(const std::string& name_space, const char* target, const char* attribute_type,
                       const std::string& attribute_name, const std::string& name) {
  keys_.push_back({name, attribute_name, attribute_type, target, name_space, next_number_++});
}

void graphml_keys::renumber(const key_group& group) {
  for (std::size_t i = 0; i < group.count; ++i) keys_[group.first + i].number = next_number_++;
}
