#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "common/onx_id.h"
#include "common/text_arena.h"
#include "model/domain_table.h"
#include "model/edge_table.h"
#include "model/graph_symbol.h"
#include "model/graphml_file.h"
#include "model/graphml_keys.h"
#include "model/node_symbol.h"
#include "model/string_handles.h"
#include "model/symbol_list.h"
#include "model/warning_tally.h"

class body_symbol;
class implicit_task_symbol;
class parallel_region_symbol;
class port_symbol;

/// How many symbols of each kind a run made so far; the next one of a kind gets that number.
struct symbol_counts {
  std::uint32_t graphs = 0;  ///< the insides of composite nodes included
  std::uint32_t nodes = 0;
  std::uint32_t composite_nodes = 0;
  std::uint32_t ports = 0;
  std::uint32_t parallel_regions = 0;
  std::uint32_t implicit_tasks = 0;
  std::uint32_t explicit_tasks = 0;
};

/// The model of one run: what its records said, in the order in which they said it. Owns the symbols and
/// edges, the documents and keys, the string handles, the domains and the tally of oddities. Writes nothing.
class kzr_data_manager {
 public:
  /// `name` is the base name of the documents.
  explicit kzr_data_manager(const std::string& name);
  kzr_data_manager(const kzr_data_manager&) = delete;
  kzr_data_manager& operator=(const kzr_data_manager&) = delete;

  /// The symbol registered under `id`, null when there is none.
  [[nodiscard]] kzr_symbol* get_sym(const ___onx_id& id) const { return symbols_.find(id); }
  /// The symbol under `id` when it is a `T`, else null.
  template <class T>
  [[nodiscard]] T* get_sym_as(const ___onx_id& id) const {
    return symbol_cast<T>(symbols_.find(id));
  }
  /// Whether the model is larger than the caches nearest to a processor, so that it pays to fetch from it
  /// ahead.
  [[nodiscard]] bool is_large() const { return symbols_.is_large() || handles_.is_large(); }
  /// All symbols of the run.
  [[nodiscard]] const symbol_list& symbols() const { return symbols_; }

  // Every add_ makes a symbol and registers it under `id`, in place of an earlier one with that identifier,
  // which lives on where it is pointed at. `handle` is the string handle of the object's kind or name.

  /// Adds a graph to the first document.
  graph_symbol& add_graph(const ___onx_id& id);
  /// Adds a node or a composite node to `graph`, or gives an existing node of the graph another kind and
  /// returns that one. A kind that should change a node that is not there is counted as a warning.
  node_symbol& add_node(const ___onx_id& id, graph_symbol& graph, std::uint64_t handle);
  /// Adds a port whose direction and index follow from the text of `handle`.
  port_symbol& add_port(const ___onx_id& id, node_symbol& node, std::uint64_t handle);
  /// Adds a nameless port with the given index.
  port_symbol& add_input_port(const ___onx_id& id, node_symbol& node, int index);
  port_symbol& add_output_port(const ___onx_id& id, node_symbol& node, int index);
  void add_body(const ___onx_id& id, const node_symbol& node);
  variable_symbol& add_variable(const ___onx_id& id, graph_symbol& graph);
  /// Adds OpenMP objects. `parent` is null for an outermost region, `region` when it is unknown.
  void add_parallel_region(const ___onx_id& id, const parallel_region_symbol* parent, std::uint64_t handle);
  void add_implicit_task(const ___onx_id& id, const parallel_region_symbol* region);
  void add_explicit_task(const ___onx_id& id);

  /// Adds an edge to the graph of the source port's node, in place of an edge between the same ports.
  const edge_symbol& add_edge(port_symbol& source, port_symbol& target);
  /// Takes the edge out of the graph of the source port's node; null when there is none.
  const edge_symbol* remove_edge(const port_symbol& source, const port_symbol& target);

  /// Keeps a text about a symbol, borrowed until the end of the run, under the string handle `key`. Only
  /// nodes have texts that anything shows.
  void add_metadata(kzr_symbol& symbol, std::uint64_t key, const char* text);
  /// Keeps the offset of a node's code in its image, in decimal.
  void set_code_location(node_symbol& node, std::string_view offset);

  /// Records the type of a domain, in place of an earlier one.
  void register_domain(std::uint64_t handle, DomainType type);
  [[nodiscard]] domain_table& domains() { return domains_; }
  [[nodiscard]] const domain_table& domains() const { return domains_; }

  /// Records the text of a string handle, borrowed until the end of the run, and what it stands for.
  void add_string_handle(std::uint64_t handle, const char* text);
  /// What a text that no handle stands for changes: it takes its word away from the handle that had it.
  void add_nameless_text(std::string_view text);
  /// What all handles of the run stand for.
  [[nodiscard]] const string_handles& handles() const { return handles_; }

  /// The name that the traced program gave the node, empty when it gave none.
  [[nodiscard]] std::string_view find_object_name(const node_symbol& node) const;
  /// Whether the node's kind is that of a composite node whose inside is code for another device.
  [[nodiscard]] bool is_streaming_node(const node_symbol& node) const;

  /// Gives the composite nodes their inner graphs, the edges their final graphs and ends, and the inner
  /// graphs that are shown documents of their own. Once a run, when all records are known; nothing is to be
  /// added behind it.
  void complete_inner_graphs();

  [[nodiscard]] const symbol_counts& counts() const { return counts_; }
  /// Every graph of the run, those of composite nodes included, in the order of creation.
  [[nodiscard]] const std::vector<graph_symbol*>& graphs() const { return graphs_; }
  /// Every edge of the run.
  [[nodiscard]] edge_table& edges() { return edges_; }
  [[nodiscard]] const edge_table& edges() const { return edges_; }
  /// The documents of the run; complete when the inner graphs are.
  [[nodiscard]] const std::deque<graphml_file>& files() const { return files_; }
  /// The keys that every document of the run declares.
  [[nodiscard]] const graphml_keys& keys() const { return keys_; }
  [[nodiscard]] warning_tally& warnings() { return warnings_; }
  [[nodiscard]] const warning_tally& warnings() const { return warnings_; }

 private:
  [[nodiscard]] bool is_kind_change(std::uint64_t handle) const;
  port_symbol& add_port(const ___onx_id& id, node_symbol& node, std::uint64_t handle, bool is_input,
                        int offset);
  void add_keys_for(vocabulary_word word);
  void add_files_below(const graph_symbol& graph);

  text_arena arena_;
  symbol_list symbols_;
  symbol_counts counts_;
  std::vector<graph_symbol*> graphs_;
  edge_table edges_;
  std::deque<graphml_file> files_;
  graphml_keys keys_;
  string_handles handles_;
  domain_table domains_;
  warning_tally warnings_;
};
