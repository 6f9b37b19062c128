#include "model/kzr_data_manager.h"

#include "model/body_symbol.h"
#include "model/explicit_task_symbol.h"
#include "model/implicit_task_symbol.h"
#include "model/inner_graph_builder.h"
#include "model/parallel_region_symbol.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"
#include "model/variable_symbol.h"

kzr_data_manager::kzr_data_manager(const std::string& name) : files_{{name, {}}} {}

graph_symbol& kzr_data_manager::add_graph(const ___onx_id& id) {
  auto& graph = symbols_.make<graph_symbol>(id, counts_.graphs++);
  graphs_.push_back(&graph);
  files_.front().graphs.push_back(&graph);
  return graph;
}

bool kzr_data_manager::is_kind_change(std::uint64_t handle) const {
  for (const vocabulary_word word : {vocabulary_word::async_node, vocabulary_word::opencl_node,
                                     vocabulary_word::queue_node, vocabulary_word::priority_queue_node,
                                     vocabulary_word::sequencer_node, vocabulary_word::write_once_node}) {
    if (handles_.is(word, handle)) return true;
  }
  return false;
}

node_symbol& kzr_data_manager::add_node(const ___onx_id& id, graph_symbol& graph, std::uint64_t handle) {
  const bool splits_existing =
      handles_.is(vocabulary_word::split_node, handle) && graph.find_node_with(id.d1) != nullptr;
  if (is_kind_change(handle) || splits_existing) {
    if (node_symbol* const changed = graph.find_node_with(id.d1)) {
      changed->set_handle(handle);
      return *changed;
    }
    warnings_.count("Transforming basic node failed: Fallback creating new node!");
  } else if (handles_.is(vocabulary_word::composite_node, handle)) {
    ++counts_.graphs;
    auto& composite =
        symbols_.make<subgraph_node_symbol>(id, graph, handle, counts_.nodes++, counts_.composite_nodes++);
    graph.add_node(composite);
    graphs_.push_back(&composite.inner_graph());
    return composite;
  }
  auto& node = symbols_.make<node_symbol>(id, graph, handle, counts_.nodes++);
  graph.add_node(node);
  return node;
}

port_symbol& kzr_data_manager::add_port(const ___onx_id& id, node_symbol& node, std::uint64_t handle,
                                        bool is_input, int offset) {
  auto& port = symbols_.make<port_symbol>(id, node, handle, is_input, offset, counts_.ports++);
  node.add_port(port, arena_);
  node.graph_for_ports().add_port(port);
  return port;
}

port_symbol& kzr_data_manager::add_port(const ___onx_id& id, node_symbol& node, std::uint64_t handle) {
  const std::string_view text = handles_.text(handle);
  const int offset = text.empty() ? 0 : text.back() - '0';
  return add_port(id, node, handle, handles_.is_input_port(handle), offset);
}

port_symbol& kzr_data_manager::add_input_port(const ___onx_id& id, node_symbol& node, int index) {
  return add_port(id, node, 0, true, index);
}

port_symbol& kzr_data_manager::add_output_port(const ___onx_id& id, node_symbol& node, int index) {
  return add_port(id, node, 0, false, index);
}

void kzr_data_manager::add_body(const ___onx_id& id, const node_symbol& node) {
  symbols_.make<body_symbol>(id, node);
}

variable_symbol& kzr_data_manager::add_variable(const ___onx_id& id, graph_symbol& graph) {
  auto& variable = symbols_.make<variable_symbol>(id);
  graph.add_variable(variable);
  return variable;
}

void kzr_data_manager::add_parallel_region(const ___onx_id& id, const parallel_region_symbol* parent,
                                           std::uint64_t handle) {
  symbols_.make<parallel_region_symbol>(id, parent, handle, counts_.parallel_regions++);
}

void kzr_data_manager::add_implicit_task(const ___onx_id& id, const parallel_region_symbol* region) {
  symbols_.make<implicit_task_symbol>(id, region);
  ++counts_.implicit_tasks;
}

void kzr_data_manager::add_explicit_task(const ___onx_id& id) {
  symbols_.make<explicit_task_symbol>(id);
  ++counts_.explicit_tasks;
}

const edge_symbol& kzr_data_manager::add_edge(port_symbol& source, port_symbol& target) {
  return edges_.add(source.node().graph_for_ports(), source, target);
}

const edge_symbol* kzr_data_manager::remove_edge(const port_symbol& source, const port_symbol& target) {
  return edges_.remove(source.node().graph_for_ports(), source, target);
}

void kzr_data_manager::add_metadata(kzr_symbol& symbol, std::uint64_t key, const char* text) {
  if (auto* const node = symbol_cast<node_symbol>(&symbol)) node->add_metadata(key, text, arena_);
}

void kzr_data_manager::set_code_location(node_symbol& node, std::string_view offset) {
  node.set_code_location(offset, arena_);
}

void kzr_data_manager::register_domain(std::uint64_t handle, DomainType type) {
  if (type != DomainType::unknown && type != DomainType::openmp) keys_.add_flow_graph_keys();
  domains_.set_type(handle, type);
}

void kzr_data_manager::add_string_handle(std::uint64_t handle, const char* text) {
  add_keys_for(handles_.add(handle, text));
}

void kzr_data_manager::add_nameless_text(std::string_view text) { add_keys_for(handles_.add_nameless(text)); }

void kzr_data_manager::add_keys_for(vocabulary_word word) {
  if (word == vocabulary_word::opencl_node) keys_.add_streaming_node_key();
  if (word == vocabulary_word::opencl_node || word == vocabulary_word::composite_node) {
    keys_.add_composite_node_keys();
  }
}

std::string_view kzr_data_manager::find_object_name(const node_symbol& node) const {
  const auto& key = handles_.remembered(vocabulary_word::object_name);
  return key ? node.find_metadata(*key) : std::string_view();
}

bool kzr_data_manager::is_streaming_node(const node_symbol& node) const {
  return node.handle() != string_handles::unset && handles_.is(vocabulary_word::opencl_node, node.handle());
}

void kzr_data_manager::complete_inner_graphs() {
  if (counts_.composite_nodes > 0) inner_graph_builder(*this).build();
  for (std::uint32_t number = 0; number < edges_.size(); ++number) {
    const edge_symbol& edge = edges_.get(number);
    if (edge.is_live()) edge.graph().list_edge(edge);
  }
  if (counts_.composite_nodes == 0) return;
  // What is nested deeper has its turn when the files appended here are looked at.
  for (std::size_t i = 0; i < files_.size(); ++i) {
    for (const graph_symbol* const graph : files_[i].graphs) add_files_below(*graph);
  }
}

namespace {

/// The composite numbers of a composite node and of those around it, the outermost first.
std::string numbers_in_file_name(const subgraph_node_symbol& composite) {
  // From the inside out, in a loop: composite nodes may be nested as deep as the trace likes.
  std::vector<std::uint32_t> numbers;
  const subgraph_node_symbol* around = &composite;
  for (; around != nullptr; around = around->own_graph().composite_node()) {
    numbers.push_back(around->composite_number());
  }
  std::string name;
  for (auto number = numbers.rbegin(); number != numbers.rend(); ++number) {
    name += "_sg" + std::to_string(*number);
  }
  return name;
}

}  // namespace

void kzr_data_manager::add_files_below(const graph_symbol& graph) {
  for (node_symbol* const node : graph.nodes()) {
    auto* const composite = symbol_cast<subgraph_node_symbol>(node);
    if (composite == nullptr || !composite->inner_visible()) continue;
    files_.push_back({files_.front().name + numbers_in_file_name(*composite), {&composite->inner_graph()}});
    composite->set_file(files_.back());
  }
}
