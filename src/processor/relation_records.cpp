#include "processor/kzr_record_processor.h"

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
  switch (static_cast<int>(record.relation())) {
    case makes_edge:
      return is_openmp ? openmp_dependence(record) : make_edge(record);
    case removes_edge:
      return remove_edge(record);
    case child_of:
      return is_openmp ? openmp_is_child_of(record) : is_child_of(record);
    case parent_of:
      return is_parent_of(record, is_openmp);
    default:
      return;
  }
}

void kzr_record_processor::make_edge(record_ref record) {
  auto* const source = dm_.find_sym_as<port_symbol>(record.head());
  auto* const target = dm_.find_sym_as<port_symbol>(record.tail());
  if (source == nullptr || target == nullptr) {
    dm_.count_warning("Port not found, dropping edge.");
    return;
  }
  const auto edge = dm_.add_edge(*source, *target);
  update_thread_and_core_set(record, false);
  append_event(tml_event_t::edge_made, record, edge.get());
}

void kzr_record_processor::remove_edge(record_ref record) {
  const auto* const source = dm_.find_sym_as<port_symbol>(record.head());
  const auto* const target = dm_.find_sym_as<port_symbol>(record.tail());
  if (source == nullptr || target == nullptr) {
    dm_.count_warning("Port not found, failed to remove edge.");
    return;
  }
  const auto edge = dm_.remove_edge(*source, *target);
  update_thread_and_core_set(record, false);
  append_event(tml_event_t::edge_removed, record, edge.get());
}

void kzr_record_processor::is_child_of(record_ref record) {
  if (auto* const child = dm_.find_sym_as<node_symbol>(record.head())) {
    if (dm_.find_sym_as<subgraph_node_symbol>(record.tail()) == nullptr) {
      dm_.count_warning(unexpected_parent_of_child);
    } else {
      // The same fact told from the parent's side shows the node instead. That is meant.
      child->set_visible(false);
    }
    return;
  }
  if (auto* const parent = dm_.find_sym_as<node_symbol>(record.tail())) {
    dm_.add_body(record.head(), *parent);
  } else {
    dm_.count_warning(unexpected_parent_of_child);
  }
}

void kzr_record_processor::is_parent_of(record_ref record, bool is_openmp) {
  auto* const composite = dm_.find_sym_as<subgraph_node_symbol>(record.head());
  if (composite == nullptr) {
    auto* const task = dm_.find_sym_as<implicit_task_symbol>(record.head());
    if (enable_subgraph != 0 && task != nullptr) {
      dm_.add_child_of_implicit_task(record.tail().d1, *task);
    } else {
      dm_.count_warning("Unexpected parent type in is_parent_of relation, relation ignored.");
    }
    return;
  }
  auto* const port = dm_.find_sym_as<port_symbol>(record.tail());
  if (port == nullptr) {
    if (auto* const child = dm_.find_sym_as<node_symbol>(record.tail())) {
      child->set_visible(true);
    } else {
      dm_.count_warning("Unexpected child type in is_parent_of relation, relation ignored.");
    }
    return;
  }
  port_symbol* const inner =
      is_openmp ? composite->get_omp_aliased_port(*port) : composite->own_graph().get_aliased_port(*port);
  if (inner != nullptr) composite->register_aliased_port(*inner);
}
