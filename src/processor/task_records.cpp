#include <algorithm>

#include "processor/kzr_record_processor.h"

void kzr_record_processor::task_group(record_ref record) {
  const DomainType domain = domain_of(record);
  if (domain == DomainType::unknown) return;
  const bool omp_subgraphs = domain == DomainType::openmp && enable_subgraph != 0;
  const string_handles& handles = dm_.handles();
  const std::uint64_t name = record.name();
  const ___onx_id& object = record.object();
  const ___onx_id& parent = record.parent();
  if (handles.is_input_port(name)) {
    add_port_of(record, true);
  } else if (handles.is_output_port(name)) {
    add_port_of(record, false);
  } else if (handles.is(vocabulary_word::graph, name)) {
    const auto graph = dm_.add_graph(object, nullptr, name);
    if (omp_subgraphs) graph->set_gml_id();
    update_thread_and_core_set(record, false);
    append_event(tml_event_t::graph_created, record, graph.get());
  } else if (handles.is_parallel_region(name)) {
    auto* const region = dm_.find_sym_as<parallel_region_symbol>(parent);
    if (region == nullptr) {
      dm_.count_warning("Parallel region has unexpected parent type, using unknown parent instead.");
    }
    dm_.add_parallel_region(object, region, name);
  } else if (handles.is_implicit_task(name) && enable_subgraph != 0) {
    auto* const region = dm_.find_sym_as<parallel_region_symbol>(parent);
    if (region == nullptr) {
      dm_.count_warning("Implicit task has unexpected parent type, using unknown parent instead.");
    }
    dm_.add_implicit_task(object, region, name);
  } else if (omp_subgraphs) {
    openmp_add_node_of(record);
  } else if (auto* const graph = symbol_cast<graph_symbol>(dm_.find_parent(parent))) {
    add_node_to(*graph, record);
  } else {
    dm_.count_warning(node_without_graph);
  }
}

void kzr_record_processor::add_port_of(record_ref record, bool is_input) {
  auto* const node = symbol_cast<node_symbol>(dm_.find_parent(record.parent()));
  if (node == nullptr) {
    dm_.count_warning("Port has unregistered parent node, dropping port.");
    return;
  }
  const std::uint64_t name = record.name();
  const auto port = is_input ? dm_.add_input_port(record.object(), *node, name)
                             : dm_.add_output_port(record.object(), *node, name);
  if (domain_of(record) == DomainType::openmp && enable_subgraph != 0) openmp_tie_in(*port);
}

std::shared_ptr<node_symbol> kzr_record_processor::add_node_to(graph_symbol& graph, record_ref record) {
  auto node = dm_.add_node(record.object(), graph, record.name());
  update_thread_and_core_set(record, false);
  append_event(tml_event_t::node_created, record, node.get(), nullptr, node->handle());
  return node;
}

void kzr_record_processor::task_begin(record_ref record) {
  const DomainType domain = domain_of(record);
  if (domain == DomainType::unknown) return;
  update_thread_and_core_set(record, true);
  if (domain == DomainType::openmp && enable_subgraph != 0) return openmp_task_begin(record);
  const kzr_symbol* const task = dm_.find_sym(record.object());
  if (domain == DomainType::openmp && task == nullptr) return;
  append_event(tml_event_t::task_begun, record, task, dm_.find_parent(record.parent()), record.name(),
               record.processor());
  if (enable_subgraph != 0) ++openmp_tasks_[record.producer].open;
}

void kzr_record_processor::task_end(record_ref record) {
  const DomainType domain = domain_of(record);
  if (domain == DomainType::unknown) return;
  update_thread_and_core_set(record, false);
  append_event(tml_event_t::task_ended, record);
  if (domain != DomainType::openmp && enable_subgraph == 0) return;
  openmp_tasks& tasks = openmp_tasks_[record.producer];
  std::uint64_t ended = 1;
  // An OpenMP begin normally appends two events, so an end has two to close unless it is known to match a
  // begin that appended one.
  if (domain == DomainType::openmp && tasks.single_ends > 0) {
    --tasks.single_ends;
  } else if (domain == DomainType::openmp) {
    append_event(tml_event_t::task_ended, record);
    ended = 2;
  }
  tasks.open -= std::min(tasks.open, ended);
}
