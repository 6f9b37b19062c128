#pragma once

#include <cstdint>
#include <string>

#include "model/kzr_symbol.h"

/// A GraphML attribute key.
class key_symbol : public kzr_symbol {
 public:
  /// Number of the next key of the run.
  static std::uint64_t key_count;

  /// Takes the next key number. `target` is the kind of element that carries the attribute, `attribute_type`
  /// the GraphML type of its value, `name_space` the path of kinds that use it.
  key_symbol(std::string attribute_name, std::string attribute_type, std::string target,
             std::string name_space);

  /// Aborts: keys stand in no graph.
  [[nodiscard]] std::shared_ptr<graph_symbol> get_enclosing_graph() const override;
  /// "d" and the key's number.
  [[nodiscard]] std::string gml_id() const override;
  /// Both abort: no trace names keys.
  [[nodiscard]] ___onx_id onx_id() const override;
  [[nodiscard]] unsigned long handle() const override;
  /// Keys carry no metadata: the value is dropped.
  void add_metadata(unsigned long key, unsigned long, const char* value) override;
  void dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) override;

  /// Takes the next key number in place of the old one, as a new key of the same name would.
  void renumber() { number_ = key_count++; }

 private:
  std::uint64_t number_;
  std::string attribute_name_;
  std::string attribute_type_;
  std::string target_;
  std::string name_space_;
};
