#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/flat_index.h"
#include "common/flat_map.h"
#include "common/onx_id.h"
#include "model/body_symbol.h"
#include "model/edge_symbol.h"
#include "model/explicit_task_symbol.h"
#include "model/graph_symbol.h"
#include "model/graphml_keys.h"
#include "model/implicit_task_symbol.h"
#include "model/node_symbol.h"
#include "model/parallel_region_symbol.h"
#include "model/port_symbol.h"
#include "model/string_handles.h"
#include "model/subgraph_node_symbol.h"
#include "model/symbol_list.h"
#include "model/variable_symbol.h"

class graphml_file;

/// What a traced domain is about; decides which of its records are looked at, and how.
enum class DomainType : std::uint8_t { unknown = 0, pwl = 1, pwl_flow = 2, pwl_algorithm = 3, openmp = 4 };

/// The name of the type: "pwl.flow", "openmp", ..., "unknown".
[[nodiscard]] std::string_view domain_text(DomainType type);

/// Whether a run writes its documents. A tool that only looks at the model does without.
enum class run_outputs : std::uint8_t { written, none };

/// Non-zero when the OpenMP sub-graph paths are on. Set once a run by the record processor.
extern int enable_subgraph;

/// Owns the whole model of one run: the symbols and their table, the GraphML files and keys, the string
/// handles, the domains and the tally of warnings. Its construction starts the numbering of symbols at zero;
/// its destruction writes every GraphML file, unless the run has no outputs.
class kzr_data_manager {
 public:
  /// `name` is the base name of the outputs. The other two texts, frequency and concurrency of the trace, are
  /// not used by the model.
  kzr_data_manager(const std::string& name, const std::string& frequency, const std::string& concurrency,
                   run_outputs outputs = run_outputs::written);
  kzr_data_manager(const kzr_data_manager&) = delete;
  kzr_data_manager& operator=(const kzr_data_manager&) = delete;
  ~kzr_data_manager();

  /// The symbol registered under `id`, null when there is none. Borrowed: valid as long as the data manager.
  [[nodiscard]] kzr_symbol* find_sym(const ___onx_id& id) const { return symbols_.find(position_of(id)); }
  /// `find_sym` for an identifier that neighbouring records mostly share, as they do their parent.
  [[nodiscard]] kzr_symbol* find_parent(const ___onx_id& id) const {
    if (!(id == last_parent_.first)) last_parent_ = {id, find_sym(id)};
    return last_parent_.second;
  }
  /// `find_sym`, shared.
  [[nodiscard]] std::shared_ptr<kzr_symbol> get_sym(const ___onx_id& id) const;
  /// The symbol under `id` when it is a `T`, else empty.
  template <class T>
  [[nodiscard]] std::shared_ptr<T> get_sym_as(const ___onx_id& id) const {
    T* const symbol = find_sym_as<T>(id);
    return symbol == nullptr ? nullptr : kzr_symbol::share(*symbol);
  }
  /// `get_sym_as`, borrowed.
  template <class T>
  [[nodiscard]] T* find_sym_as(const ___onx_id& id) const {
    return symbol_cast<T>(find_sym(id));
  }

  /// Whether the model is larger than the caches nearest to a processor, so that it pays to fetch from it
  /// ahead.
  [[nodiscard]] bool is_large() const { return symbols_.is_large() || handles_.is_large(); }

  /// Starts to fetch the place of identifiers with `hash` in the table of symbols into the caches.
  void prefetch_place(std::uint64_t hash) const { table_.prefetch(hash); }
  /// A symbol that is most likely the one registered under an identifier with `hash`; null when none is. The
  /// symbol itself is not looked at.
  [[nodiscard]] kzr_symbol* guess_sym(std::uint64_t hash) const { return symbols_.find(table_.guess(hash)); }

  // Every add_ makes a symbol and registers it under `id`, in place of an earlier one with that identifier,
  // which lives on where it is pointed at. `handle` is the string handle of the object's kind or name.

  /// Adds a top-level graph, or one inside the node `parent`, to the GraphML file that was made last.
  std::shared_ptr<graph_symbol> add_graph(const ___onx_id& id, node_symbol* parent, unsigned long handle);
  /// Adds a node or a composite node to `graph`, or gives an existing node of the graph another kind and
  /// returns that one. A kind that should change a node that is not there is counted as a warning.
  std::shared_ptr<node_symbol> add_node(const ___onx_id& id, graph_symbol& graph, unsigned long handle);
  /// Adds a port whose direction and index follow from the text of `handle`.
  std::shared_ptr<port_symbol> add_input_port(const ___onx_id& id, node_symbol& node, unsigned long handle);
  std::shared_ptr<port_symbol> add_output_port(const ___onx_id& id, node_symbol& node, unsigned long handle);
  /// Adds a nameless port, input or output, with the given index.
  std::shared_ptr<port_symbol> add_input_port(const ___onx_id& id, node_symbol& node, int index);
  std::shared_ptr<port_symbol> add_output_port(const ___onx_id& id, node_symbol& node, int index);
  /// Adds an edge to the graph of the source port's node, in place of an edge between the same ports.
  std::shared_ptr<edge_symbol> add_edge(port_symbol& source, port_symbol& target);
  /// Takes the edge out of its graph; empty when there is none.
  std::shared_ptr<edge_symbol> remove_edge(const port_symbol& source, const port_symbol& target);
  /// Adds a body and makes it that of `node`.
  std::shared_ptr<body_symbol> add_body(const ___onx_id& id, node_symbol& node);
  /// Adds a variable of `graph` that the task `first` accessed in the way `kind`.
  std::shared_ptr<variable_symbol> add_variable(const ___onx_id& id, graph_symbol& graph,
                                                const ___onx_id& first, char kind);
  /// Add OpenMP objects. `parent` is null for an outermost region, `region` when it is unknown.
  std::shared_ptr<parallel_region_symbol> add_parallel_region(const ___onx_id& id,
                                                              parallel_region_symbol* parent,
                                                              unsigned long handle);
  std::shared_ptr<implicit_task_symbol> add_implicit_task(const ___onx_id& id, parallel_region_symbol* region,
                                                          unsigned long handle);
  std::shared_ptr<explicit_task_symbol> add_explicit_task(const ___onx_id& id, implicit_task_symbol& task);

  /// The port of a node under a synthesised `id` by which it passes on, or gets, the value of a variable.
  /// Made with the next number of the node's dependence outputs, or inputs, when there is none.
  port_symbol& dependence_output(const ___onx_id& id, node_symbol& producer);
  port_symbol& dependence_input(const ___onx_id& id, node_symbol& reader);
  /// Notes that `task` is the parent of the object with the first word `key`; an earlier note stands. No
  /// output tells of it: what the relation says is taken for good, and not counted as an oddity.
  void add_child_of_implicit_task(std::uint64_t key, implicit_task_symbol& task) {
    implicit_task_by_child_.emplace(key, &task);
  }

  /// Records the type of a domain, in place of an earlier one. Takes over `name`, an array made with `new[]`,
  /// and deletes it.
  void register_domain(unsigned long handle, const char* name);
  void register_domain(unsigned long handle, const wchar_t* name);
  /// The type of a domain, `unknown` for a handle that was never registered.
  [[nodiscard]] DomainType domain_type(unsigned long handle) const {
    // Neighbouring records mostly share their domain.
    if (handle != last_domain_.first) last_domain_ = {handle, domains_.value_or_default(handle)};
    return last_domain_.second;
  }
  /// Makes the keys of the flow-graph domains, once.
  void init_domain_pwl();

  /// Records the text of a string handle, which must stay valid until the end of the run, and remembers what
  /// it stands for. The second number is not used.
  void add_string_handle(unsigned long handle, unsigned char, const char* text);
  /// What a text that no handle stands for changes: it takes its word away from the handle that had it.
  void add_nameless_text(std::string_view text);
  /// The text of `handle`, empty when it has none. Borrowed from the reader: valid until the end of the run.
  [[nodiscard]] const char* handle_text(unsigned long handle) const { return handles_.text(handle); }
  /// What all handles of the run stand for.
  [[nodiscard]] const string_handles& handles() const { return handles_; }

  /// The version of the program, which the output files carry.
  [[nodiscard]] std::string get_version_string() const;
  /// The id of the key stored under `name`; aborts when there is none.
  [[nodiscard]] std::string get_key_id(const std::string& name) const { return keys_.get_id(name); }
  /// The keys that every GraphML file of the run declares.
  [[nodiscard]] const graphml_keys& keys() const { return keys_; }

  /// Counts an oddity of the trace that is no reason to stop.
  void count_warning(std::string_view message);
  /// How often each oddity was counted, by its message. No output of the converter contains it.
  [[nodiscard]] const std::map<std::string, std::uint64_t, std::less<>>& warnings() const {
    return warnings_;
  }

  /// Moves nodes and edges into the inner graphs of their composite nodes. Does so once a run, when all
  /// records are known.
  void complete_inner_graphs();
  /// Appends a GraphML file for the composite node's inner graph and returns it.
  std::shared_ptr<graphml_file> add_file(subgraph_node_symbol& composite);
  /// The GraphML files of the run; grows while it is post-processed.
  [[nodiscard]] const std::vector<std::shared_ptr<graphml_file>>& files() const { return files_; }
  [[nodiscard]] run_outputs outputs() const { return outputs_; }
  /// Every symbol and edge of the run.
  [[nodiscard]] const symbol_list& symbols() const { return symbols_; }
  /// Every graph and composite node of the run in the order of creation.
  [[nodiscard]] const std::vector<graph_symbol*>& graphs() const { return graphs_; }

 private:
  /// The position of the symbol registered under `id`, 0 when there is none.
  [[nodiscard]] std::uint32_t position_of(const ___onx_id& id) const {
    return table_.find(flat_hash{}(id),
                       [this, &id](std::uint32_t position) { return symbols_.get(position).onx_id() == id; });
  }
  template <class T>
  std::shared_ptr<T> enter(T& symbol);
  template <class Text>
  [[nodiscard]] DomainType classify_domain(Text name);
  void add_keys_for(vocabulary_word word);
  void set_domain(unsigned long handle, DomainType type);
  [[nodiscard]] int port_index(unsigned long handle);

  /// First, because the files share graphs that live in its memory.
  symbol_list symbols_;
  std::map<___onx_id, int> dependence_outputs_;
  std::map<___onx_id, int> dependence_inputs_;
  std::map<std::uint64_t, implicit_task_symbol*> implicit_task_by_child_;
  std::map<std::string, std::uint64_t, std::less<>> warnings_;
  std::vector<std::shared_ptr<graphml_file>> files_;
  string_handles handles_;
  flat_map<std::uint64_t, DomainType> domains_;
  /// The handle that was asked for last and its type; no domain has the handle 0 at first.
  mutable std::pair<std::uint64_t, DomainType> last_domain_;
  /// The parent that was asked for last; nothing has the zero identifier at first.
  mutable std::pair<___onx_id, kzr_symbol*> last_parent_{};
  /// Symbols by the identifiers they were made with.
  flat_index table_;
  /// All graphs, those of composite nodes included, in the order of creation.
  std::vector<graph_symbol*> graphs_;
  graphml_keys keys_;
  bool inner_graphs_complete_ = false;
  run_outputs outputs_;
};
