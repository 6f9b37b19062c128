#include "model/kzr_data_manager.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "graphml/graphml_file.h"
#include "model/inner_graph_builder.h"

int enable_subgraph = 0;

std::string_view domain_text(DomainType type) {
  switch (type) {
    case DomainType::pwl:
      return "pwl";
    case DomainType::pwl_flow:
      return "pwl.flow";
    case DomainType::pwl_algorithm:
      return "pwl.algorithm";
    case DomainType::openmp:
      return "openmp";
    case DomainType::unknown:
      break;
  }
  return "unknown";
}

namespace {

// The second words by which a port says that it stands for its graph's own input or output.
constexpr std::uint64_t input_alias_word = 37;
constexpr std::uint64_t output_alias_word = 35;

void start_numbering() {
  graph_symbol::graph_count = 0;
  node_symbol::node_count = 0;
  subgraph_node_symbol::subgraph_node_count = 0;
  edge_symbol::edge_count = 0;
  key_symbol::key_count = 0;
  parallel_region_symbol::parallel_region_count = 0;
  implicit_task_symbol::implicit_task_count = 0;
  explicit_task_symbol::explicit_task_count = 0;
}

/// Starts the numbering before the keys, the first numbered symbols of a run, are made.
graphml_keys first_keys() {
  start_numbering();
  return {};
}

bool is_kind_change(const string_handles& handles, std::uint64_t handle) {
  for (const vocabulary_word word : {vocabulary_word::async_node, vocabulary_word::opencl_node,
                                     vocabulary_word::queue_node, vocabulary_word::priority_queue_node,
                                     vocabulary_word::sequencer_node, vocabulary_word::write_once_node}) {
    if (handles.is(word, handle)) return true;
  }
  return false;
}

bool is_alias(const ___onx_id& port, const ___onx_id& node, std::uint64_t word) {
  return port.d1 == node.d1 && port.d2 == word;
}

}  // namespace

kzr_data_manager::kzr_data_manager(const std::string& name, const std::string&, const std::string&,
                                   run_outputs outputs)
    : keys_(first_keys()), outputs_(outputs) {
  files_.push_back(std::make_shared<graphml_file>(name));
}

kzr_data_manager::~kzr_data_manager() {
  if (outputs_ == run_outputs::none) return;
  for (const auto& file : files_) file->write(*this);
}

std::shared_ptr<kzr_symbol> kzr_data_manager::get_sym(const ___onx_id& id) const {
  return symbols_.at(position_of(id));
}

template <class T>
std::shared_ptr<T> kzr_data_manager::enter(T& symbol) {
  const ___onx_id id = symbol.onx_id();
  table_.put(flat_hash{}(id), symbol_list::position_of(&symbol),
             [this, &id](std::uint32_t position) { return symbols_.get(position).onx_id() == id; });
  if (id == last_parent_.first) last_parent_.second = &symbol;
  return kzr_symbol::share(symbol);
}

std::shared_ptr<graph_symbol> kzr_data_manager::add_graph(const ___onx_id& id, node_symbol* parent,
                                                          unsigned long handle) {
  auto graph = enter(symbols_.make<graph_symbol>(id, parent, handle));
  graphs_.push_back(graph.get());
  graph->set_file(files_.back().get());
  files_.back()->add_graph(graph);
  return graph;
}

std::shared_ptr<node_symbol> kzr_data_manager::add_node(const ___onx_id& id, graph_symbol& graph,
                                                        unsigned long handle) {
  const bool splits_existing = handles_.is(vocabulary_word::split_node, handle) && graph.has_node_with(id.d1);
  if (is_kind_change(handles_, handle) || splits_existing) {
    if (node_symbol* const changed = graph.transform_node(id, handle)) return kzr_symbol::share(*changed);
    count_warning("Transforming basic node failed: Fallback creating new node!");
  } else if (handles_.is(vocabulary_word::composite_node, handle)) {
    const auto composite = subgraph_node_symbol::create(symbols_, id, graph, handle);
    graphs_.push_back(composite.get());
    return enter(*composite);
  }
  auto node = enter(symbols_.make<node_symbol>(id, graph, handle));
  graph.add_node(*node);
  return node;
}

int kzr_data_manager::port_index(unsigned long handle) {
  const std::string_view text = handles_.text(handle);
  return text.empty() ? 0 : text.back() - '0';
}

std::shared_ptr<port_symbol> kzr_data_manager::add_input_port(const ___onx_id& id, node_symbol& node,
                                                              unsigned long handle) {
  auto port = enter(
      *port_symbol::create(symbols_, id, node, handle, handles_.is_input_port(handle), port_index(handle)));
  if (is_alias(id, node.onx_id(), input_alias_word)) node.graph_for_ports().set_input_alias_port(port.get());
  return port;
}

std::shared_ptr<port_symbol> kzr_data_manager::add_output_port(const ___onx_id& id, node_symbol& node,
                                                               unsigned long handle) {
  // The direction follows from the handle here too.
  auto port = enter(
      *port_symbol::create(symbols_, id, node, handle, handles_.is_input_port(handle), port_index(handle)));
  if (is_alias(id, node.onx_id(), output_alias_word))
    node.graph_for_ports().set_output_alias_port(port.get());
  return port;
}

std::shared_ptr<port_symbol> kzr_data_manager::add_input_port(const ___onx_id& id, node_symbol& node,
                                                              int index) {
  return enter(*port_symbol::create(symbols_, id, node, 0, true, index));
}

std::shared_ptr<port_symbol> kzr_data_manager::add_output_port(const ___onx_id& id, node_symbol& node,
                                                               int index) {
  return enter(*port_symbol::create(symbols_, id, node, 0, false, index));
}

std::shared_ptr<edge_symbol> kzr_data_manager::add_edge(port_symbol& source, port_symbol& target) {
  auto& edge = symbols_.make<edge_symbol>(source, target);
  edge.graph().add_edge(edge);
  return kzr_symbol::share(edge);
}

std::shared_ptr<edge_symbol> kzr_data_manager::remove_edge(const port_symbol& source,
                                                           const port_symbol& target) {
  edge_symbol* const edge = source.node().graph_for_ports().remove_edge(source, target);
  return edge == nullptr ? nullptr : kzr_symbol::share(*edge);
}

std::shared_ptr<body_symbol> kzr_data_manager::add_body(const ___onx_id& id, node_symbol& node) {
  auto body = enter(symbols_.make<body_symbol>(id, node));
  node.set_body(*body);
  return body;
}

std::shared_ptr<variable_symbol> kzr_data_manager::add_variable(const ___onx_id& id, graph_symbol& graph,
                                                                const ___onx_id& first, char kind) {
  auto variable = enter(symbols_.make<variable_symbol>(id, graph));
  variable->add_to_stack(first, kind);
  graph.add_variable(*variable);
  return variable;
}

std::shared_ptr<parallel_region_symbol> kzr_data_manager::add_parallel_region(const ___onx_id& id,
                                                                              parallel_region_symbol* parent,
                                                                              unsigned long handle) {
  return enter(symbols_.make<parallel_region_symbol>(id, parent, handle));
}

std::shared_ptr<implicit_task_symbol> kzr_data_manager::add_implicit_task(const ___onx_id& id,
                                                                          parallel_region_symbol* region,
                                                                          unsigned long handle) {
  return enter(symbols_.make<implicit_task_symbol>(id, region, handle));
}

std::shared_ptr<explicit_task_symbol> kzr_data_manager::add_explicit_task(const ___onx_id& id,
                                                                          implicit_task_symbol& task) {
  return enter(symbols_.make<explicit_task_symbol>(id, task));
}

port_symbol& kzr_data_manager::dependence_output(const ___onx_id& id, node_symbol& producer) {
  if (auto* const port = find_sym_as<port_symbol>(id)) return *port;
  return *add_output_port(id, producer, dependence_outputs_[producer.onx_id()]++);
}

port_symbol& kzr_data_manager::dependence_input(const ___onx_id& id, node_symbol& reader) {
  if (auto* const port = find_sym_as<port_symbol>(id)) return *port;
  return *add_input_port(id, reader, dependence_inputs_[reader.onx_id()]++);
}

template <class Text>
DomainType kzr_data_manager::classify_domain(Text name) {
  const auto is = [name](std::string_view known) {
    return std::equal(name.begin(), name.end(), known.begin(), known.end(),
                      [](auto a, char b) { return a == static_cast<decltype(a)>(b); });
  };
  if (is("openmp")) return DomainType::openmp;
  DomainType type = DomainType::unknown;
  if (is("pwl")) type = DomainType::pwl;
  if (is("pwl.flow")) type = DomainType::pwl_flow;
  if (is("pwl.algorithm")) type = DomainType::pwl_algorithm;
  if (type != DomainType::unknown) init_domain_pwl();
  return type;
}

void kzr_data_manager::register_domain(unsigned long handle, const char* name) {
  const std::unique_ptr<const char[]> owned(name);
  set_domain(handle, classify_domain(std::string_view(name)));
}

void kzr_data_manager::register_domain(unsigned long handle, const wchar_t* name) {
  const std::unique_ptr<const wchar_t[]> owned(name);
  set_domain(handle, classify_domain(std::wstring_view(name)));
}

void kzr_data_manager::set_domain(unsigned long handle, DomainType type) {
  // A domain that is not known needs no entry, but it must not keep an earlier one.
  if (type == DomainType::unknown) {
    domains_.erase(handle);
  } else {
    domains_.place(handle) = type;
  }
  last_domain_ = {handle, type};
}

void kzr_data_manager::init_domain_pwl() { keys_.add_flow_graph_keys(); }

void kzr_data_manager::add_string_handle(unsigned long handle, unsigned char, const char* text) {
  add_keys_for(handles_.add(handle, text));
}

void kzr_data_manager::add_nameless_text(std::string_view text) { add_keys_for(handles_.add_nameless(text)); }

void kzr_data_manager::add_keys_for(vocabulary_word word) {
  switch (word) {
    case vocabulary_word::composite_node:
      keys_.add_composite_node_keys();
      break;
    case vocabulary_word::opencl_node:
      keys_.add_streaming_node_key();
      keys_.add_composite_node_keys();
      break;
    default:
      break;
  }
}

void kzr_data_manager::complete_inner_graphs() {
  if (inner_graphs_complete_) return;
  inner_graphs_complete_ = true;
  inner_graph_builder(*this).build();
}

std::shared_ptr<graphml_file> kzr_data_manager::add_file(subgraph_node_symbol& composite) {
  auto file = std::make_shared<graphml_file>(composite.get_file_name());
  file->add_graph(kzr_symbol::share<graph_symbol>(composite));
  files_.push_back(file);
  return file;
}

std::string kzr_data_manager::get_version_string() const {
  constexpr int numbers[] = {2019, 1, 1, 17941};
  std::string version;
  for (const int number : numbers) {
    if (!version.empty()) version += '.';
    version += std::to_string(number);
  }
  return version;
}

void kzr_data_manager::count_warning(std::string_view message) {
  auto warning = warnings_.find(message);
  if (warning == warnings_.end()) warning = warnings_.emplace(message, 0).first;
  ++warning->second;
}
