#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "model/key_symbol.h"

/// The GraphML keys of a run by the name under which the program looks them up, which is not always the name
/// of the attribute. Keys are numbered in the order of their registration.
class graphml_keys {
 public:
  /// Registers the keys that every document declares.
  graphml_keys();

  /// Registers the keys of flow-graph nodes; further calls do nothing.
  void add_flow_graph_keys();
  /// Registers the keys of composite nodes, in place of those of an earlier call.
  void add_composite_node_keys();
  /// Registers the key of streaming nodes, in place of that of an earlier call.
  void add_streaming_node_key();

  /// The id of the key stored under `name`; aborts when there is none.
  [[nodiscard]] std::string get_id(const std::string& name) const;
  /// All keys by the name they are looked up under.
  [[nodiscard]] const std::map<std::string, std::shared_ptr<key_symbol>>& all() const { return keys_; }

  /// Ids that nearly every node needs. The id for join policies is empty until the flow-graph keys exist.
  [[nodiscard]] const std::string& object_name() const { return object_name_; }
  [[nodiscard]] const std::string& plugin() const { return plugin_; }
  [[nodiscard]] const std::string& node_type() const { return node_type_; }
  [[nodiscard]] const std::string& line_no() const { return line_no_; }
  [[nodiscard]] const std::string& join_policy() const { return join_policy_; }

 private:
  std::shared_ptr<key_symbol> add(const char* name_space, const char* target, const char* attribute_type,
                                  const std::string& attribute_name, const std::string& name);

  std::map<std::string, std::shared_ptr<key_symbol>> keys_;
  // In the order of their registration, so that registering them again only has to number them again.
  std::vector<std::shared_ptr<key_symbol>> composite_node_keys_;
  std::shared_ptr<key_symbol> streaming_node_key_;
  bool has_flow_graph_keys_ = false;
  std::string object_name_;
  std::string plugin_;
  std::string node_type_;
  std::string line_no_;
  std::string join_policy_;
};
