#include "model/implicit_task_symbol.h"
#include "model/kzr_data_manager.h"
#include "model/parallel_region_symbol.h"
#include "model/port_symbol.h"
#include "processor/kzr_record_processor.h"
#include "processor/messages.h"
#include "reader/trace_record.h"

void kzr_record_processor::task_group(record_ref record) {
  const DomainType domain = domain_of(record);
  if (domain == DomainType::unknown) return;
  openmp_subgraphs* const subgraphs = subgraphs_for(domain);
  const string_handles& handles = model_.handles();
  const std::uint64_t name = record.name();
  if (handles.is_input_port(name) || handles.is_output_port(name)) {
    add_port(record, subgraphs);
  } else if (handles.is(vocabulary_word::graph, name)) {
    add_graph(record, subgraphs);
  } else if (handles.is_parallel_region(name)) {
    add_parallel_region(record);
  } else if (handles.is_implicit_task(name) && subgraphs_) {
    add_implicit_task(record);
  } else {
    add_node(record, subgraphs);
  }
}

void kzr_record_processor::add_port(record_ref record, openmp_subgraphs* subgraphs) {
  auto* const node = model_.get_sym_as<node_symbol>(record.parent());
  if (node == nullptr) {
    model_.warnings().count("Port has unregistered parent node, dropping port.");
    return;
  }
  port_symbol& port = model_.add_port(record.object(), *node, record.name());
  if (subgraphs != nullptr) subgraphs->tie_in(port);
}

void kzr_record_processor::add_graph(record_ref record, openmp_subgraphs* subgraphs) {
  graph_symbol& graph = model_.add_graph(record.object());
  if (subgraphs != nullptr) graph.set_gml_id(model_.counts().graphs - 1);
  events_.note_thread(record);
  events_.append(tml_event_t::graph_created, record, &graph, nullptr);
}

void kzr_record_processor::add_node(record_ref record, openmp_subgraphs* subgraphs) {
  graph_symbol* graph = nullptr;
  if (subgraphs != nullptr) {
    graph = subgraphs->find_graph_of(record.parent());
  } else {
    graph = model_.get_sym_as<graph_symbol>(record.parent());
    if (graph == nullptr) count_left_out(record);
  }
  if (graph == nullptr) return;
  const node_symbol& node = model_.add_node(record.object(), *graph, record.name());
  events_.note_thread(record);
  events_.append_node(record, node, node.handle());
}

/// Without the sub-graph paths nobody knows implicit tasks, and so the nodes inside of regions have parents
/// that are unknown; implicit tasks themselves look like nodes of a region.
void kzr_record_processor::count_left_out(record_ref record) {
  const kzr_symbol* const parent = model_.get_sym(record.parent());
  const bool is_in_region = domain_of(record) == DomainType::openmp && record.parent() != ___onx_id{} &&
                            (parent == nullptr || parent->type() == parallel_region_symbol::own_class);
  if (is_in_region) {
    model_.warnings().note("Inside of an OpenMP region, shown with --omp_experimental.");
  } else {
    model_.warnings().count(node_without_graph);
  }
}

void kzr_record_processor::add_parallel_region(record_ref record) {
  const auto* const parent = model_.get_sym_as<parallel_region_symbol>(record.parent());
  if (parent == nullptr && record.parent() == ___onx_id{}) {
    model_.warnings().note("Parallel region without a region around it.");
  } else if (parent == nullptr) {
    model_.warnings().count("Parallel region has unexpected parent type, using unknown parent instead.");
  }
  model_.add_parallel_region(record.object(), parent, record.name());
}

void kzr_record_processor::add_implicit_task(record_ref record) {
  const auto* const region = model_.get_sym_as<parallel_region_symbol>(record.parent());
  if (region == nullptr) {
    model_.warnings().count("Implicit task has unexpected parent type, using unknown parent instead.");
  }
  model_.add_implicit_task(record.object(), region);
}

void kzr_record_processor::task_begin(record_ref record) {
  const DomainType domain = domain_of(record);
  if (domain == DomainType::unknown) return;
  events_.note_core(record);
  events_.note_thread(record);
  if (openmp_subgraphs* const subgraphs = subgraphs_for(domain)) return subgraphs->task_begin(record);
  const kzr_symbol* const task = model_.get_sym(record.object());
  if (domain == DomainType::openmp && task == nullptr) return;
  events_.append_begin(tml_event_t::task_begun, record, model_.domains().index_of(record.domain()), task,
                       model_.get_sym(record.parent()));
  if (subgraphs_) pairing_.note_begin(record.producer, false);
}

void kzr_record_processor::task_end(record_ref record) {
  const DomainType domain = domain_of(record);
  if (domain == DomainType::unknown) return;
  events_.note_thread(record);
  const bool is_openmp = domain == DomainType::openmp;
  const int events = is_openmp || subgraphs_ ? pairing_.end_task(record.producer, is_openmp) : 1;
  for (int i = 0; i < events; ++i) events_.append(tml_event_t::task_ended, record);
}
