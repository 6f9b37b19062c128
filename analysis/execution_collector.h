#pragma once

#include <cstdint>
#include <string_view>

#include "analysis/execution_table.h"
#include "analysis/run_nodes.h"
#include "analysis/timeline_marks.h"
#include "traceml/open_tasks.h"

class edge_symbol;
class event_list;
class graph_symbol;
class kzr_data_manager;
class kzr_symbol;
class node_symbol;
class parallel_region_symbol;

/// Takes the events of a run in place of the timeline's writer, and finds the executions and marks that the
/// timeline would show.
class execution_collector {
 public:
  /// Borrows everything. Nodes that tasks run on and regions are named by are added to `nodes`.
  execution_collector(const kzr_data_manager& model, run_nodes& nodes, execution_table& executions,
                      timeline_marks& marks)
      : model_(model), nodes_(nodes), executions_(executions), marks_(marks) {}

  // The operations that the replay calls; see `kzr_traceml_writer`.
  void graph_creation(std::uint64_t ts, int tid, const graph_symbol*) { pass_line(ts, tid); }
  void node_creation(std::uint64_t ts, std::uint64_t, int tid, const node_symbol&) { pass_line(ts, tid); }
  void make_edge(std::uint64_t ts, int tid, const edge_symbol&) { pass_line(ts, tid); }
  void remove_edge(std::uint64_t ts, int tid, const edge_symbol* edge);
  void region_begin(std::uint64_t ts, int tid, const node_symbol* node, const graph_symbol* graph);
  void region_end(std::uint64_t ts, int tid, const node_symbol* node, const graph_symbol* graph);
  void user_event(std::uint64_t ts, int tid, std::string_view description);
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

  /// Ends what is still open, as the timeline does, and closes the marks.
  void close();

 private:
  void pass_line(std::uint64_t ts, int tid);
  void begin(std::uint64_t ts, int tid, std::uint32_t node, execution_kind kind = execution_kind::work);
  [[nodiscard]] std::uint32_t find_region(const node_symbol* node, const graph_symbol* graph);

  const kzr_data_manager& model_;
  run_nodes& nodes_;
  execution_table& executions_;
  timeline_marks& marks_;
  open_tasks open_tasks_;
  std::uint64_t last_timestamp_ = 0;
};

/// What a timeline shows.
struct collected_timeline {
  execution_table executions;
  timeline_marks marks;
};

/// The executions and marks of a run, from its events. The model must be complete; nodes that tasks ran on
/// and regions are named by are added to `nodes`. With `keeps_begin_order` the order of begins over all
/// threads is kept, too. The executions are left for the caller to close, who may release the events first:
/// together they are the most that is in memory. Throws `std::length_error` when there are too many
/// executions.
[[nodiscard]] collected_timeline collect_timeline(const event_list& events, const kzr_data_manager& model,
                                                  run_nodes& nodes, bool keeps_begin_order = false);
