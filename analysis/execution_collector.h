#pragma once

#include <cstdint>
#include <string_view>

#include "analysis/execution_table.h"
#include "analysis/run_nodes.h"
#include "traceml/open_tasks.h"

class edge_symbol;
class event_list;
class graph_symbol;
class kzr_data_manager;
class kzr_symbol;
class node_symbol;
class parallel_region_symbol;

/// Takes the events of a run in place of the timeline's writer, and finds the executions that the timeline
/// would show.
class execution_collector {
 public:
  /// Borrows everything. Nodes that tasks run on are added to `nodes`, executions to `executions`.
  execution_collector(const kzr_data_manager& model, run_nodes& nodes, execution_table& executions)
      : model_(model), nodes_(nodes), executions_(executions) {}

  // The operations that the replay calls; see `kzr_traceml_writer`.
  void graph_creation(std::uint64_t ts, int, const graph_symbol*) { last_timestamp_ = ts; }
  void node_creation(std::uint64_t ts, std::uint64_t, int, const node_symbol&) { last_timestamp_ = ts; }
  void make_edge(std::uint64_t ts, int, const edge_symbol&) { last_timestamp_ = ts; }
  void remove_edge(std::uint64_t ts, int, const edge_symbol*) { last_timestamp_ = ts; }
  void region_begin(std::uint64_t ts, int, const node_symbol*, const graph_symbol*) { last_timestamp_ = ts; }
  void region_end(std::uint64_t ts, int, const node_symbol*, const graph_symbol*) { last_timestamp_ = ts; }
  void user_event(std::uint64_t ts, int, std::string_view) { last_timestamp_ = ts; }
  void task_begin(std::uint64_t ts, int tid, kzr_symbol* symbol, std::uint64_t marker, std::uint64_t cid,
                  std::string_view stream);
  void task_end(std::uint64_t ts, int tid);
  void omp_parallel_region_begin(std::uint64_t ts, int tid, const node_symbol* node,
                                 const graph_symbol* graph, std::uint64_t cid, std::string_view stream);
  void explicit_task_begin(std::uint64_t ts, int tid, const node_symbol* node, const graph_symbol* graph,
                           std::uint64_t cid, std::string_view stream);
  void parallel_region_begin(std::uint64_t ts, int tid, const parallel_region_symbol& region,
                             std::uint64_t cid, std::string_view stream);
  void parallel_task_begin(std::uint64_t ts, int tid, const parallel_region_symbol& region, std::uint64_t cid,
                           std::string_view stream);
  void outer_implicit_task_begin(std::uint64_t ts, int tid, const graph_symbol* graph, std::uint64_t kind,
                                 std::uint64_t cid, std::string_view stream);
  void implicit_task_begin(std::uint64_t ts, int tid, const graph_symbol* graph, std::uint64_t kind,
                           std::uint64_t cid, std::string_view stream);

  /// Ends what is still open, as the timeline does, and closes the executions.
  void close();

 private:
  void begin(std::uint64_t ts, int tid, std::uint32_t node, execution_kind kind = execution_kind::work);

  const kzr_data_manager& model_;
  run_nodes& nodes_;
  execution_table& executions_;
  open_tasks open_tasks_;
  std::uint64_t last_timestamp_ = 0;
};

/// The executions of a run, from its events. The model must be complete; nodes that tasks ran on are added to
/// `nodes`. Throws `std::length_error` when there are too many.
[[nodiscard]] execution_table collect_executions(const event_list& events, const kzr_data_manager& model,
                                                 run_nodes& nodes);
