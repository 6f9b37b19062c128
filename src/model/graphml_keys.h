#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/key_symbol.h"

/// The GraphML keys of a run. They are numbered in the order of their registration; registering keys again
/// gives them new numbers.
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
  [[nodiscard]] std::string get_id(std::string_view name) const;
  /// All keys by number.
  [[nodiscard]] std::vector<key_symbol> by_number() const;

  /// Ids that nearly every node needs. The id for join policies is empty until the flow-graph keys exist.
  [[nodiscard]] const std::string& object_name() const { return object_name_; }
  [[nodiscard]] const std::string& plugin() const { return plugin_; }
  [[nodiscard]] const std::string& node_type() const { return node_type_; }
  [[nodiscard]] const std::string& line_no() const { return line_no_; }
  [[nodiscard]] const std::string& join_policy() const { return join_policy_; }

 private:
  /// Keys of one group, which are registered together.
  struct key_group {
    std::size_t first = 0;
    std::size_t count = 0;
  };

  void add(const std::string& name_space, const char* target, const char* attribute_type,
           const std::string& attribute_name, const std::string& name);
  void renumber(const key_group& group);

  std::vector<key_symbol> keys_;
  std::uint64_t next_number_ = 0;
  key_group flow_graph_keys_;
  key_group composite_node_keys_;
  key_group streaming_node_key_;
  std::string object_name_;
  std::string plugin_;
  std::string node_type_;
  std::string line_no_;
  std::string join_policy_;
};
