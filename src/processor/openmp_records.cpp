// What OpenMP records do while the sub-graph paths are on. The node or composite node that stands for a
// parallel region is registered under the region's identifier with 1 as its second word, and a task's node
// under the first word of the task's identifier, 1 and 0.

#include "processor/kzr_record_processor.h"

namespace {

___onx_id region_node_id(const ___onx_id& region_or_task) {
  return {region_or_task.d1, 1, region_or_task.d3};
}

}  // namespace

void kzr_record_processor::openmp_tie_in(port_symbol& port) {
  subgraph_node_symbol* const region = port.node().graph_for_ports().composite_node();
  if (region == nullptr) return;
  port_symbol* const outer = region->find_free_port(port.is_input(), port.offset());
  if (outer != nullptr) region->link_ports(*outer, port);
}

void kzr_record_processor::openmp_add_node_of(record_ref record) {
  const ___onx_id& parent = record.parent();
  auto* graph = dm_.find_sym_as<graph_symbol>(parent);
  if (graph == nullptr) {
    if (dm_.find_sym_as<implicit_task_symbol>(parent) == nullptr) {
      dm_.count_warning(node_without_graph);
      return;
    }
    graph = dm_.find_sym_as<graph_symbol>(region_node_id(parent));
    if (graph == nullptr) {
      dm_.count_warning("Unable to find parallel region subgraph for implicit task, Something is wrong.");
      return;
    }
  }
  const auto node = add_node_to(*graph, record);
  // Any other name may have changed the kind of a composite node that the graph holds already.
  if (!dm_.handles().is(vocabulary_word::composite_node, record.name())) return;
  auto* const composite = symbol_cast<subgraph_node_symbol>(node.get());
  if (composite != nullptr && graph->composite_node() != nullptr) {
    graph->composite_node()->add_nested_composite(*composite);
  }
}

void kzr_record_processor::openmp_task_begin(record_ref record) {
  const string_handles& handles = dm_.handles();
  const std::uint64_t name = record.name();
  const std::uint64_t extra = record.processor();
  const ___onx_id& task = record.object();
  openmp_tasks& tasks = openmp_tasks_[record.producer];
  if (handles.is_parallel_region(name)) {
    auto* const node = dm_.find_sym_as<node_symbol>(region_node_id(task));
    if (node == nullptr) {
      dm_.count_warning("if you are using older qzd you good, otherwise parallel region broken");
      return;
    }
    append_event(tml_event_t::implicit_task_begun, record, node, &node->graph_for_ports(), name, extra);
    // The timeline shows the begin of a region without opening a task. The two ends that are short are those
    // of its own end and of the implicit task in it: together they close what the latter opened.
    if (tasks.open > 0) tasks.single_ends += 2;
    return;
  }
  if (handles.is_explicit_task(name) && dm_.find_sym_as<explicit_task_symbol>(task) != nullptr) {
    auto* const node = dm_.find_sym_as<node_symbol>({task.d1, 1, 0});
    append_event(tml_event_t::explicit_task_begun, record, node,
                 node == nullptr ? nullptr : &node->graph_for_ports(), name, extra);
  } else if (handles.is_implicit_task(name) || handles.is(vocabulary_word::omp_barrier, name)) {
    auto* region = dm_.find_sym_as<subgraph_node_symbol>(region_node_id(task));
    if (region == nullptr) region = dm_.find_sym_as<subgraph_node_symbol>(region_node_id(record.parent()));
    append_event(tml_event_t::implicit_task_begun, record, region == nullptr ? nullptr : &region->own_graph(),
                 nullptr, name, extra);
    append_event(tml_event_t::implicit_task_begun, record, region, nullptr, name, extra);
    tasks.open += 2;
    return;
  } else {
    append_event(tml_event_t::task_begun, record, dm_.find_sym(task), dm_.find_sym(record.parent()), name,
                 extra);
  }
  ++tasks.open;
  ++tasks.single_ends;
}

void kzr_record_processor::openmp_is_child_of(record_ref record) {
  if (enable_subgraph == 0) return;
  auto* const parent = dm_.find_sym_as<implicit_task_symbol>(record.tail());
  if (parent != nullptr) dm_.add_explicit_task(record.head(), *parent);
}

void kzr_record_processor::openmp_dependence(record_ref record) {
  if (enable_subgraph == 0) return;
  auto* const head = dm_.find_sym_as<node_symbol>(record.head());
  auto* const tail = dm_.find_sym_as<node_symbol>(record.tail());
  if (head == nullptr && tail != nullptr) {
    openmp_read(record, *tail);
  } else if (head != nullptr && tail == nullptr) {
    openmp_write(*head, record.head(), record.tail());
  }
}

void kzr_record_processor::openmp_read(record_ref record, node_symbol& reader) {
  const ___onx_id& variable_id = record.head();
  const ___onx_id& reader_id = record.tail();
  graph_symbol& graph = reader.graph_for_ports();
  variable_symbol* variable = graph.find_variable(variable_id);
  if (variable == nullptr) variable = dm_.add_variable(variable_id, graph, reader_id, 'i').get();

  const ___onx_id producer_id = variable->get_bottom_of_stack();
  auto* const producer = producer_id == ___onx_id{} ? nullptr : dm_.find_sym_as<node_symbol>(producer_id);
  if (producer != nullptr && producer != &reader) {
    port_symbol& source = dm_.dependence_output({producer_id.d1, variable_id.d1, 1}, *producer);
    port_symbol& target = dm_.dependence_input({variable_id.d1, reader_id.d1, 1}, reader);
    const auto edge = dm_.add_edge(source, target);
    update_thread_and_core_set(record, false);
    append_event(tml_event_t::edge_made, record, edge.get());
  }
  variable->add_to_stack(reader_id, 'i');
}

void kzr_record_processor::openmp_write(node_symbol& writer, const ___onx_id& writer_id,
                                        const ___onx_id& variable_id) {
  auto* const variable = dm_.find_sym_as<variable_symbol>(variable_id);
  if (variable == nullptr) {
    dm_.add_variable(variable_id, writer.graph_for_ports(), writer_id, 'o');
    return;
  }
  // The value is a new one: whoever accessed the old one does not matter any more.
  while (variable->stack_size() > 0) variable->remove_from_stack();
  variable->add_to_stack(writer_id, 'o');
}
