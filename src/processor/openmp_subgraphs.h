#pragma once

#include <cstdint>
#include <map>

#include "common/onx_id.h"

class event_collector;
class graph_symbol;
class kzr_data_manager;
class node_symbol;
class port_symbol;
class task_pairing;
class trace_record;

/// What records of the OpenMP domain do while the sub-graph paths are on: regions become composite nodes,
/// their tasks nodes inside, dependences between tasks edges. The node or composite node that stands for a
/// region is registered under the region's identifier with 1 as its second word, and a task's node under the
/// first word of the task's identifier, 1 and 0.
class openmp_subgraphs {
 public:
  /// Borrows everything.
  openmp_subgraphs(kzr_data_manager& model, event_collector& events, task_pairing& pairing)
      : model_(model), events_(events), pairing_(pairing) {}

  /// The graph that a node with this parent is made in: that of the region of an implicit task, too. Null,
  /// and counted as an oddity, when there is none.
  [[nodiscard]] graph_symbol* find_graph_of(const ___onx_id& parent);
  /// Lets a new port stand for the port of the region around it with the same direction and offset, if that
  /// is free.
  static void tie_in(port_symbol& port);
  void task_begin(const trace_record& record);
  /// Notes an explicit task.
  void is_child_of(const trace_record& record);
  /// A task reads or writes a variable.
  void depends_on(const trace_record& record);

 private:
  void read(const trace_record& record, node_symbol& reader);
  void write(const trace_record& record, node_symbol& writer);
  [[nodiscard]] port_symbol& find_or_add_output(const ___onx_id& id, node_symbol& producer);
  [[nodiscard]] port_symbol& find_or_add_input(const ___onx_id& id, node_symbol& reader);

  kzr_data_manager& model_;
  event_collector& events_;
  task_pairing& pairing_;
  /// By node: how many ports it has for the values of variables that it passes on, and that it gets.
  std::map<___onx_id, int> dependence_outputs_;
  std::map<___onx_id, int> dependence_inputs_;
};
