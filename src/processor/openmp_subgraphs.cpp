#include "processor/openmp_subgraphs.h"

#include "model/explicit_task_symbol.h"
#include "model/implicit_task_symbol.h"
#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"
#include "model/variable_symbol.h"
#include "processor/event_collector.h"
#include "processor/messages.h"
#include "processor/task_pairing.h"
#include "reader/trace_record.h"

namespace {

___onx_id region_node_id(const ___onx_id& region_or_task) {
  return {region_or_task.d1, 1, region_or_task.d3};
}

}  // namespace

graph_symbol* openmp_subgraphs::find_graph_of(const ___onx_id& parent) {
  if (auto* const graph = model_.get_sym_as<graph_symbol>(parent)) return graph;
  if (model_.get_sym_as<implicit_task_symbol>(parent) == nullptr) {
    model_.warnings().count(node_without_graph);
    return nullptr;
  }
  auto* const graph = model_.get_sym_as<graph_symbol>(region_node_id(parent));
  if (graph == nullptr) {
    model_.warnings().count("Unable to find parallel region subgraph for implicit task, Something is wrong.");
  }
  return graph;
}

void openmp_subgraphs::tie_in(port_symbol& port) {
  subgraph_node_symbol* const region = port.node().graph_for_ports().composite_node();
  if (region == nullptr) return;
  port_symbol* const outer = region->find_free_port(port.is_input(), port.offset());
  if (outer != nullptr) region->link_ports(*outer, port);
}

void openmp_subgraphs::task_begin(const trace_record& record) {
  const string_handles& handles = model_.handles();
  const std::uint32_t domain = model_.domains().index_of(record.domain());
  const ___onx_id& task = record.object();
  if (handles.is_parallel_region(record.name())) {
    auto* const node = model_.get_sym_as<node_symbol>(region_node_id(task));
    if (node == nullptr) {
      model_.warnings().count("if you are using older qzd you good, otherwise parallel region broken");
      return;
    }
    events_.append_begin(tml_event_t::implicit_task_begun, record, domain, node, &node->graph_for_ports());
    pairing_.note_region_begin(record.producer);
    return;
  }
  const bool is_explicit =
      handles.is_explicit_task(record.name()) && model_.get_sym_as<explicit_task_symbol>(task) != nullptr;
  if (!is_explicit &&
      (handles.is_implicit_task(record.name()) || handles.is(vocabulary_word::omp_barrier, record.name()))) {
    auto* region = model_.get_sym_as<subgraph_node_symbol>(region_node_id(task));
    if (region == nullptr) region = model_.get_sym_as<subgraph_node_symbol>(region_node_id(record.parent()));
    events_.append_begin(tml_event_t::implicit_task_begun, record, domain,
                         region == nullptr ? nullptr : &region->own_graph(), nullptr);
    events_.append_begin(tml_event_t::implicit_task_begun, record, domain, region, nullptr);
    pairing_.note_implicit_begin(record.producer);
    return;
  }
  if (is_explicit) {
    auto* const node = model_.get_sym_as<node_symbol>({task.d1, 1, 0});
    events_.append_begin(tml_event_t::explicit_task_begun, record, domain, node,
                         node == nullptr ? nullptr : &node->graph_for_ports());
  } else {
    events_.append_begin(tml_event_t::task_begun, record, domain, model_.get_sym(task),
                         model_.get_sym(record.parent()));
  }
  pairing_.note_begin(record.producer, true);
}

void openmp_subgraphs::is_child_of(const trace_record& record) {
  if (model_.get_sym_as<implicit_task_symbol>(record.tail()) != nullptr) {
    model_.add_explicit_task(record.head());
  }
}

void openmp_subgraphs::depends_on(const trace_record& record) {
  auto* const head = model_.get_sym_as<node_symbol>(record.head());
  auto* const tail = model_.get_sym_as<node_symbol>(record.tail());
  if (head == nullptr && tail != nullptr) {
    read(record, *tail);
  } else if (head != nullptr && tail == nullptr) {
    write(record, *head);
  }
}

void openmp_subgraphs::read(const trace_record& record, node_symbol& reader) {
  const ___onx_id& variable_id = record.head();
  const ___onx_id& reader_id = record.tail();
  graph_symbol& graph = reader.graph_for_ports();
  variable_symbol* variable = graph.find_variable(variable_id);
  if (variable == nullptr) variable = &model_.add_variable(variable_id, graph);

  const ___onx_id& producer_id = variable->producer();
  auto* const producer = producer_id == ___onx_id{} ? nullptr : model_.get_sym_as<node_symbol>(producer_id);
  if (producer == nullptr || producer == &reader) return;
  port_symbol& source = find_or_add_output({producer_id.d1, variable_id.d1, 1}, *producer);
  port_symbol& target = find_or_add_input({variable_id.d1, reader_id.d1, 1}, reader);
  events_.note_thread(record);
  events_.append_edge(tml_event_t::edge_made, record, &model_.add_edge(source, target));
}

void openmp_subgraphs::write(const trace_record& record, node_symbol& writer) {
  auto* variable = model_.get_sym_as<variable_symbol>(record.tail());
  if (variable == nullptr) variable = &model_.add_variable(record.tail(), writer.graph_for_ports());
  variable->set_producer(record.head());
}

port_symbol& openmp_subgraphs::find_or_add_output(const ___onx_id& id, node_symbol& producer) {
  if (auto* const port = model_.get_sym_as<port_symbol>(id)) return *port;
  return model_.add_output_port(id, producer, dependence_outputs_[producer.onx_id()]++);
}

port_symbol& openmp_subgraphs::find_or_add_input(const ___onx_id& id, node_symbol& reader) {
  if (auto* const port = model_.get_sym_as<port_symbol>(id)) return *port;
  return model_.add_input_port(id, reader, dependence_inputs_[reader.onx_id()]++);
}
