#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "common/text_buffer.h"
#include "traceml/line_file.h"
#include "traceml/open_tasks.h"

class edge_symbol;
class graph_symbol;
class kzr_data_manager;
class kzr_symbol;
class node_symbol;
class parallel_region_symbol;

/// Writes the timeline of a run as one TraceML document: its first four lines at once, then the head, one
/// line per event in the order of the calls, and the end. Timestamps are in ticks, thread ids are the numbers
/// of trace files, never negative. Keeps count of the open tasks of each thread, so that begins and ends in
/// the document always pair. The model must be complete before the first event and not change between events.
/// A file that cannot be written is not reported.
class kzr_traceml_writer {
 public:
  /// Opens `file_name` and writes the first four lines. `frequency` in ticks per second and
  /// `hardware_concurrency` in threads go into the document as they are.
  kzr_traceml_writer(const kzr_data_manager& model, const std::string& file_name,
                     const std::string& frequency, const std::string& hardware_concurrency);
  kzr_traceml_writer(const kzr_traceml_writer&) = delete;
  kzr_traceml_writer& operator=(const kzr_traceml_writer&) = delete;

  /// The head: the platform, then types, attributes and groups.
  void platform_creation(int total_cores);
  void meta_head_creation(const std::set<std::int64_t>& cores, const std::set<std::int64_t>& threads);

  /// One line for each event; `ts` is its time in ticks, `tid` its thread. Whatever is null is "unknown" in
  /// the line.
  void graph_creation(std::uint64_t ts, int tid, const graph_symbol* graph);
  /// `kind` is the string handle of the node's kind at the time of the event.
  void node_creation(std::uint64_t ts, std::uint64_t kind, int tid, const node_symbol& node);
  void make_edge(std::uint64_t ts, int tid, const edge_symbol& edge);
  /// Writes nothing for a null edge, which still moves the last timestamp.
  void remove_edge(std::uint64_t ts, int tid, const edge_symbol* edge);
  /// A region is named by its node, without one by its graph.
  void region_begin(std::uint64_t ts, int tid, const node_symbol* node, const graph_symbol* graph);
  void region_end(std::uint64_t ts, int tid, const node_symbol* node, const graph_symbol* graph);
  void user_event(std::uint64_t ts, int tid, std::string_view description);

  /// `symbol` says which node runs: a body or a port by its node, a node or a graph by itself. `marker` is a
  /// string handle; that of an output port makes the task a put from outside. `cid` is a processor number.
  void task_begin(std::uint64_t ts, int tid, kzr_symbol* symbol, std::uint64_t marker, std::uint64_t cid,
                  std::string_view stream);
  /// Ends the task that the thread `tid` began last; writes nothing when none is open.
  void task_end(std::uint64_t ts, int tid);

  /// The OpenMP forms of a task's begin. `kind` is the string handle of an implicit task's name.
  void omp_parallel_region_begin(std::uint64_t ts, int tid, const node_symbol* node,
                                 const graph_symbol* graph, std::uint64_t cid, std::string_view stream);
  void explicit_task_begin(std::uint64_t ts, int tid, const node_symbol* node, const graph_symbol* graph,
                           std::uint64_t cid, std::string_view stream);
  void parallel_region_begin(std::uint64_t ts, int tid, const parallel_region_symbol& region,
                             std::uint64_t cid, std::string_view stream);
  void parallel_task_begin(std::uint64_t ts, int tid, const parallel_region_symbol& region, std::uint64_t cid,
                           std::string_view stream);
  void implicit_task_begin(std::uint64_t ts, int tid, const graph_symbol* graph, std::uint64_t kind,
                           std::uint64_t cid, std::string_view stream);
  /// The first one of the two lines with which most implicit tasks and barriers begin; both open a task.
  void outer_implicit_task_begin(std::uint64_t ts, int tid, const graph_symbol* graph, std::uint64_t kind,
                                 std::uint64_t cid, std::string_view stream) {
    implicit_task_begin(ts, tid, graph, kind, cid, stream);
  }

  /// Ends what is still open, one tick behind the last event, and tells it on standard error; closes the
  /// document. False when some of it could not be written.
  bool close();

 private:
  void start_line(std::string_view element, std::uint64_t ts, int tid);
  void start_task_line(std::uint64_t ts, int tid, std::uint64_t cid);
  void finish_line(std::uint64_t ts);
  void finish_task_line(std::uint64_t ts, std::string_view stream);

  void add_text(std::string_view name, std::string_view value);
  template <class Symbol>
  void add_id(std::string_view name, const Symbol* symbol);
  void add_id(std::string_view name, const parallel_region_symbol* region);
  void add_edge(std::string_view element, std::uint64_t ts, int tid, const edge_symbol& edge);
  void add_region(std::string_view element, std::uint64_t ts, int tid, const node_symbol* node,
                  const graph_symbol* graph);
  void add_sequence_number(std::string_view name);
  void add_task(kzr_symbol* symbol, std::uint64_t marker);
  /// What stands behind the numbers of a task's begin, up to the end of the line. Valid until the next call.
  const std::string& end_of_task_line(kzr_symbol* symbol, std::uint64_t marker, std::string_view stream);

  /// The end of a task's line that is kept: runs have few nodes and many tasks.
  struct kept_end {
    const kzr_symbol* symbol = nullptr;
    std::uint64_t marker = 0;
    std::string stream;
    std::string text;
  };

  const kzr_data_manager& model_;
  line_file file_;
  open_tasks open_tasks_;
  std::uint64_t last_timestamp_ = 0;
  std::uint64_t task_sequence_number_ = 0;
  text_buffer line_;
  std::vector<kept_end> kept_ends_{1024};
};
