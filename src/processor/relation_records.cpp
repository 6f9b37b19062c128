#include "model/implicit_task_symbol.h"
#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"
#include "processor/kzr_record_processor.h"
#include "reader/trace_record.h"

namespace {

// The relations that are acted upon.
constexpr int removes_edge = 2;
constexpr int parent_of = 3;
constexpr int child_of = 5;
constexpr int makes_edge = 7;

constexpr const char* unexpected_parent_of_child =
    "Unexpected parent type in is_child_of relation, relation ignored.";

}  // namespace

void kzr_record_processor::relation(record_ref record) {
  const DomainType domain = domain_of(record);
  if (domain == DomainType::unknown) return;
  const bool is_openmp = domain == DomainType::openmp;
  openmp_subgraphs* const subgraphs = subgraphs_for(domain);
  switch (static_cast<int>(record.relation())) {
    case makes_edge:
      if (subgraphs != nullptr) subgraphs->depends_on(record);
      if (!is_openmp) make_edge(record);
      return;
    case removes_edge:
      return remove_edge(record);
    case child_of:
      if (subgraphs != nullptr) subgraphs->is_child_of(record);
      if (!is_openmp) is_child_of(record);
      return;
    case parent_of:
      return is_parent_of(record, is_openmp);
    default:
      return;
  }
}

void kzr_record_processor::make_edge(record_ref record) {
  auto* const source = model_.get_sym_as<port_symbol>(record.head());
  auto* const target = model_.get_sym_as<port_symbol>(record.tail());
  if (source == nullptr || target == nullptr) {
    model_.warnings().count("Port not found, dropping edge.");
    return;
  }
  events_.note_thread(record);
  events_.append_edge(tml_event_t::edge_made, record, &model_.add_edge(*source, *target));
}

void kzr_record_processor::remove_edge(record_ref record) {
  const auto* const source = model_.get_sym_as<port_symbol>(record.head());
  const auto* const target = model_.get_sym_as<port_symbol>(record.tail());
  if (source == nullptr || target == nullptr) {
    model_.warnings().count("Port not found, failed to remove edge.");
    return;
  }
  events_.note_thread(record);
  events_.append_edge(tml_event_t::edge_removed, record, model_.remove_edge(*source, *target));
}

void kzr_record_processor::is_child_of(record_ref record) {
  if (auto* const child = model_.get_sym_as<node_symbol>(record.head())) {
    if (model_.get_sym_as<subgraph_node_symbol>(record.tail()) == nullptr) {
      model_.warnings().count(unexpected_parent_of_child);
    } else {
      // The same fact told from the parent's side shows the node instead. That is meant.
      child->set_visible(false);
    }
    return;
  }
  if (auto* const parent = model_.get_sym_as<node_symbol>(record.tail())) {
    model_.add_body(record.head(), *parent);
  } else {
    model_.warnings().count(unexpected_parent_of_child);
  }
}

void kzr_record_processor::is_parent_of(record_ref record, bool is_openmp) {
  auto* const composite = model_.get_sym_as<subgraph_node_symbol>(record.head());
  if (composite == nullptr) {
    // That an implicit task is a parent shows nowhere, but is no oddity where such tasks are looked at.
    if (!subgraphs_ || model_.get_sym_as<implicit_task_symbol>(record.head()) == nullptr) {
      model_.warnings().count("Unexpected parent type in is_parent_of relation, relation ignored.");
    }
    return;
  }
  auto* const port = model_.get_sym_as<port_symbol>(record.tail());
  if (port == nullptr) {
    if (auto* const child = model_.get_sym_as<node_symbol>(record.tail())) {
      child->set_visible(true);
    } else {
      model_.warnings().count("Unexpected child type in is_parent_of relation, relation ignored.");
    }
    return;
  }
  port_symbol* const inner = is_openmp ? composite->inner_graph().get_omp_aliased_port(*port)
                                       : composite->own_graph().get_aliased_port(*port);
  if (inner != nullptr) composite->register_aliased_port(*inner);
}
