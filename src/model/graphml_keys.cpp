#include "model/graphml_keys.h"

#include "common/kzr_assert.h"

namespace {
// As many inputs and as many outputs of a composite node can carry keys.
constexpr int aliased_ports_with_keys = 10;
}  // namespace

graphml_keys::graphml_keys() {
  object_name_ = add("all::node", "all", "string", "object_name", "object_name")->gml_id();
  add("all", "all", "string", "decl", "decl");
  add("all::node", "node", "string", "description", "description");
  // The attribute's name ends in a full stop, the name it is looked up under does not.
  line_no_ = add("all::node", "node", "string", "line_no.", "line_no")->gml_id();
  node_type_ = add("all::node", "node", "string", "node_type", "node_type")->gml_id();
  plugin_ = add("all::node", "node", "string", "plugin", "plugin")->gml_id();
  add("all::node", "node", "double", "weight", "weight");
}

void graphml_keys::add_flow_graph_keys() {
  if (has_flow_graph_keys_) return;
  has_flow_graph_keys_ = true;
  const auto add_node_key = [this](const char* name_space, const char* type, const char* name) {
    return add(name_space, "node", type, name, name);
  };
  add_node_key("all::node::pwl::source_node", "boolean", "active");
  add_node_key("all::node::pwl", "string", "allocator");
  add_node_key("all::node::pwl", "string", "body_construction");
  join_policy_ = add_node_key("all::node::pwl::join_node", "string", "buffer_policy")->gml_id();
  add_node_key("all::node::pwl::function_node all::node::pwl::multifunction_node", "string", "concurrency");
  add_node_key("all::node::pwl::continue_node all::node::pwl::limiter_node", "int",
               "initial_predecessor_count");
  add_node_key("all::node::pwl::limiter_node", "int", "limit");
  add_node_key("all::node::pwl", "string", "virtual_address");
}

void graphml_keys::add_streaming_node_key() {
  if (streaming_node_key_) {
    streaming_node_key_->renumber();
  } else {
    streaming_node_key_ = add("all::node::pwl::streaming_node", "node", "int", "using_factory", "factory");
  }
}

void graphml_keys::add_composite_node_keys() {
  if (!composite_node_keys_.empty()) {
    for (const auto& key : composite_node_keys_) key->renumber();
    return;
  }
  const auto add_key = [this](const std::string& name_space, const char* target, const char* type,
                              const std::string& attribute_name, const std::string& name) {
    composite_node_keys_.push_back(add(name_space.c_str(), target, type, attribute_name, name));
  };
  constexpr const char* composite = "all::node::qzd::subgraph_node";
  add_key(composite, "node", "string", "subgraph_reference", "subgraph_reference");
  for (int i = 0; i < aliased_ports_with_keys; ++i) {
    const std::string number = std::to_string(i);
    const std::string input = "Input " + number;
    const std::string output = "Output " + number;
    add_key(composite, "node", "string", input, input);
    add_key(composite, "node", "string", output, output);
    add_key("all::graph::" + input, "graph", "string", "Alias Node", "Input Alias Node " + number);
    add_key("all::graph::" + input, "graph", "string", "Alias Port", "Input Alias Port " + number);
    add_key("all::graph::" + output, "graph", "string", "Alias Node", "Output Alias Node " + number);
    add_key("all::graph::" + output, "graph", "string", "Alias Port", "Output Alias Port " + number);
  }
  add_key("all::graph", "graph", "string", "concurrency_list", "concurrency_list");
  add_key("all::graph", "graph", "int", "no_of_data_elements", "no_of_data_elements");
  add_key("all::graph", "graph", "int", "no_of_nodes", "no_of_nodes");
  add_key("all::graph", "graph", "int", "no_of_edges", "no_of_edges");
}

std::string graphml_keys::get_id(const std::string& name) const {
  const auto key = keys_.find(name);
  KZR_ASSERT(key != keys_.end(), "ERROR: Unknown key " + name);
  return key->second->gml_id();
}

std::shared_ptr<key_symbol> graphml_keys::add(const char* name_space, const char* target,
                                              const char* attribute_type, const std::string& attribute_name,
                                              const std::string& name) {
  auto key = std::make_shared<key_symbol>(attribute_name, attribute_type, target, name_space);
  keys_[name] = key;
  return key;
}
