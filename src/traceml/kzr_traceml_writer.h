#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "common/text_buffer.h"
#include "model/kzr_data_manager.h"
#include "traceml/line_file.h"
#include "traceml/timestamp_digits.h"

/// Writes the timeline of a run as one TraceML document: the head at once, then one line per event in the
/// order of the calls. Timestamps are in ticks, thread ids are the numbers of trace files, never negative.
/// Keeps count of the open tasks of each thread, so that begins and ends in the document always pair; its
/// destruction ends what is still open and closes the document. The model must not change between
/// events. A file that cannot be written is not reported.
class kzr_traceml_writer {
 public:
  /// Opens `file_name`, unless the run has no outputs, and writes the first four lines. `frequency` in ticks
  /// per second and `hardware_concurrency` in threads go into the document as they are.
  kzr_traceml_writer(kzr_data_manager& dm, const std::string& file_name, const std::string& frequency,
                     const std::string& hardware_concurrency);
  kzr_traceml_writer(const kzr_traceml_writer&) = delete;
  kzr_traceml_writer& operator=(const kzr_traceml_writer&) = delete;
  virtual ~kzr_traceml_writer();

  /// The head, to be written before the first event: the platform, then types, attributes and groups.
  void platform_creation(const int& total_cores);
  void meta_head_creation(const std::set<long>& cores, const std::set<long>& threads);

  /// The elements of the head, a call each.
  void task_type_creation(const std::string& id, const std::string& state);
  void description_creation(const std::string& label, const std::string& value);
  void group_member_creation(const std::string& name, const std::string& units);
  void group_creation(const std::string& name, const std::string& type, const std::string& device,
                      const std::string& member_name, const std::string& member_units);
  void attribute_creation(const std::string& name, const std::string& description, const std::set<long>& ids);

  /// One line for each event; `ts` is its time in ticks, `tid` its thread. Neither shared pointer nor text is
  /// kept.
  void graph_creation(std::uint64_t ts, int tid, const std::shared_ptr<graph_symbol>& graph);
  /// `kind` is the string handle of the node's kind at the time of the event.
  void node_creation(std::uint64_t ts, unsigned long kind, int tid, const std::shared_ptr<node_symbol>& node);
  /// An empty edge writes nothing, in both.
  void make_edge(std::uint64_t ts, int tid, const std::shared_ptr<edge_symbol>& edge);
  void remove_edge(std::uint64_t ts, int tid, const std::shared_ptr<edge_symbol>& edge);
  /// A region is named by its node, without one by its graph. Whatever is missing is "unknown".
  void region_begin(std::uint64_t ts, int tid, const std::shared_ptr<node_symbol>& node,
                    const std::shared_ptr<graph_symbol>& graph);
  void region_end(std::uint64_t ts, int tid, const std::shared_ptr<node_symbol>& node,
                  const std::shared_ptr<graph_symbol>& graph);
  void user_event(std::uint64_t ts, int tid, std::string_view description);

  /// `symbol` says which node runs: a body or a port by its node, a node or a graph by itself. `marker` is a
  /// string handle; that of an output port makes the task a put from outside. `cid` is a processor number.
  void task_begin(std::uint64_t ts, int tid, const std::shared_ptr<kzr_symbol>& symbol, unsigned long marker,
                  unsigned long cid, std::string_view stream);
  /// Ends the task that the thread `tid` began last; writes nothing when none is open.
  void task_end(std::uint64_t ts, int tid);

  /// The OpenMP forms of a task's begin. Whatever is missing is "unknown". The numbers between symbols and
  /// `cid` are not used, but for `kind`, the string handle of an implicit task's name.
  void omp_parallel_region_begin(std::uint64_t ts, int tid, const std::shared_ptr<node_symbol>& node,
                                 const std::shared_ptr<graph_symbol>& graph, unsigned long, unsigned long cid,
                                 std::string_view stream);
  void explicit_task_begin(std::uint64_t ts, int tid, const std::shared_ptr<node_symbol>& node,
                           const std::shared_ptr<graph_symbol>& graph, unsigned long, unsigned long cid,
                           std::string_view stream);
  void parallel_region_begin(std::uint64_t ts, int tid, const std::shared_ptr<parallel_region_symbol>& region,
                             unsigned long, unsigned long cid, std::string_view stream);
  void parallel_task_begin(std::uint64_t ts, int tid, const std::shared_ptr<parallel_region_symbol>& region,
                           unsigned long, unsigned long cid, std::string_view stream);
  void implicit_task_begin(std::uint64_t ts, int tid, const std::shared_ptr<graph_symbol>& graph,
                           unsigned long kind, unsigned long cid, std::string_view stream);

 private:
  void start_line(std::string_view element, std::uint64_t ts, int tid);
  void start_task_line(std::uint64_t ts, int tid, unsigned long cid);
  void finish_line(std::uint64_t ts);
  void finish_task_line(std::uint64_t ts, std::string_view stream);
  void open_task(int tid);

  void add_text(std::string_view name, std::string_view value);
  void add_id(std::string_view name, const node_symbol* node);
  void add_id(std::string_view name, const graph_symbol* graph);
  void add_id(std::string_view name, const parallel_region_symbol* region);
  void add_edge(std::string_view element, std::uint64_t ts, int tid, const edge_symbol* edge);
  void add_region(std::string_view element, std::uint64_t ts, int tid, const node_symbol* node,
                  const graph_symbol* graph);
  void add_sequence_number(std::string_view name);
  void add_task(kzr_symbol* symbol, unsigned long marker);
  /// What stands behind the numbers of a task's begin, up to the end of the line. Valid until the next call.
  const std::string& tail_of_task(kzr_symbol* symbol, unsigned long marker, std::string_view stream);

  /// A tail that is kept: runs have few nodes and many tasks, and ids do not change any more once events are
  /// written.
  struct task_tail {
    const kzr_symbol* symbol = nullptr;
    unsigned long marker = 0;
    std::string stream;
    std::string text;
  };

  kzr_data_manager& dm_;
  line_file file_;
  timestamp_digits timestamps_;
  /// By thread id: how many tasks are open.
  std::vector<std::uint64_t> open_tasks_;
  std::uint64_t last_timestamp_ = 0;
  std::uint64_t task_sequence_number_ = 0;
  text_buffer line_;
  std::vector<task_tail> task_tails_{1024};
};
