#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/text_buffer.h"

class edge_symbol;
class graph_symbol;
class kzr_data_manager;
class node_symbol;
class port_symbol;
class subgraph_node_symbol;
struct graphml_file;
struct port_alias;

/// Writes the documents of a run, once its inner graphs are complete.
class graphml_writer {
 public:
  /// Borrows the model.
  explicit graphml_writer(const kzr_data_manager& model);

  /// Writes one document of the run to the file `path`, in place of what was there. False when some of it
  /// could not be written.
  bool write_file(const graphml_file& document, const std::string& path);
  /// Writes one document.
  void write(const graphml_file& document, std::ostream& out);

 private:
  void add_header(const graphml_file& document);
  void write_graph(const graph_symbol& graph, std::ostream& out);
  void add_inner_graph_data(const subgraph_node_symbol& composite);
  void add_aliases(const std::vector<port_alias>& aliases, const std::string& direction);
  void add_node(const node_symbol& node);
  void add_kind(const node_symbol& node);
  void add_composite_kind(const subgraph_node_symbol& composite);
  void add_inner_ports(std::span<port_symbol* const> ports, const std::string& direction);
  void add_ports(std::span<port_symbol* const> ports);
  void add_edge(const edge_symbol& edge);
  /// Starts the line of one datum; the caller appends the value and `end_of_datum`.
  void start_datum(std::string_view key_id);
  void add_datum(std::string_view key_id, std::string_view value);
  void write_full_block(std::ostream& out);

  const kzr_data_manager& model_;
  text_buffer text_;  ///< what is not written yet
  text_buffer id_;    ///< of the node at hand
};
