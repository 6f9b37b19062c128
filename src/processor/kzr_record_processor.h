#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/flat_map.h"
#include "model/kzr_data_manager.h"
#include "processor/event_list.h"
#include "processor/image_table.h"
#include "processor/number_set.h"
#include "reader/trace_record.h"
#include "traceml/kzr_traceml_writer.h"

/// Gives the records of a run their meaning: grows the model and collects the events of the timeline, which
/// it replays to the TraceML writer at the end. Owns both. Records are to be handed over by ascending
/// timestamp, then the operations for the end of the trace called, then the processor destroyed, which
/// finishes the outputs.
class kzr_record_processor {
 public:
  /// `name` is the base name of the outputs; `frequency` (ticks per second) and `concurrency` (threads) are
  /// texts of the trace. A non-zero `subgraph_flag` turns the OpenMP sub-graph paths on. Opens the timeline
  /// file, unless `outputs` says that nothing is written, and reads the list of images of the results
  /// directory, if there is one; a malformed number in it throws the exception of the standard conversion.
  kzr_record_processor(const std::string& name, const std::string& frequency, const std::string& concurrency,
                       const int& subgraph_flag, run_outputs outputs = run_outputs::written);
  kzr_record_processor(const kzr_record_processor&) = delete;
  kzr_record_processor& operator=(const kzr_record_processor&) = delete;
  virtual ~kzr_record_processor() = default;

  /// Handles one record. Only its texts must outlive the call; they must stay valid until the end of the run.
  /// Aborts on a wide string handle and on a kind that does not exist.
  void process_record(const trace_record& record);

  /// Writes the list of resolved code addresses to the results directory that QZD_DIR names, if it is set.
  void write_zup_output();

  /// Writes the head and all events of the timeline. Throws the exception of the standard conversion when the
  /// concurrency is no number, as it is for a run without a usable trace file.
  void dump_trace();

  /// The model; valid as long as the processor.
  [[nodiscard]] kzr_data_manager& data_manager() { return dm_; }

 private:
  using record_ref = const trace_record&;

  static constexpr const char* node_without_graph = "Node has a parent that is not a graph, dropping node.";

  void domain_create_A(record_ref record);
  void domain_create_W(record_ref record);
  void string_handle_create_A(record_ref record);
  void string_handle_create_W(record_ref record);
  void bad_record(record_ref record);

  void meta_data(record_ref record);
  void meta_data_string_A(record_ref record);
  void meta_data_string_W(record_ref record);

  void relation(record_ref record);
  void make_edge(record_ref record);
  void remove_edge(record_ref record);
  void is_child_of(record_ref record);
  void is_parent_of(record_ref record, bool is_openmp);

  void task_group(record_ref record);
  void add_port_of(record_ref record, bool is_input);
  std::shared_ptr<node_symbol> add_node_to(graph_symbol& graph, record_ref record);
  void task_begin(record_ref record);
  void task_end(record_ref record);

  /// The node of a region and the graph that its record named; either may be null.
  using region_place = std::pair<node_symbol*, graph_symbol*>;
  void region_begin(record_ref record);
  void region_end(record_ref record);

  // OpenMP records with the sub-graph paths on.
  void openmp_tie_in(port_symbol& port);
  void openmp_add_node_of(record_ref record);
  void openmp_task_begin(record_ref record);
  void openmp_is_child_of(record_ref record);
  void openmp_dependence(record_ref record);
  void openmp_read(record_ref record, node_symbol& reader);
  void openmp_write(node_symbol& writer, const ___onx_id& writer_id, const ___onx_id& variable_id);

  [[nodiscard]] DomainType domain_of(record_ref record) const { return dm_.domain_type(record.domain()); }
  void update_thread_and_core_set(record_ref record, bool with_core);
  void append_event(tml_event_t kind, record_ref record, const kzr_symbol* first = nullptr,
                    const kzr_symbol* second = nullptr, std::uint64_t first_number = 0,
                    std::uint64_t second_number = 0);

  /// The domain of an event as the timeline names it.
  [[nodiscard]] std::string_view domain_text_of(const timeline_event& event);
  void expect(const timeline_event& event, std::size_t steps) const;
  void replay(const timeline_event& event);
  void replay_task_begin(const timeline_event& event);
  void replay_implicit_task_begin(const timeline_event& event);

  kzr_data_manager dm_;
  kzr_traceml_writer writer_;
  image_table images_;
  std::string concurrency_;
  /// The tasks of one producer.
  struct openmp_tasks {
    std::uint64_t single_ends = 0;  ///< how many of the next OpenMP ends append one event instead of two
    std::uint64_t open = 0;         ///< tasks open in the timeline; kept while the sub-graph paths are on
  };
  std::map<int, openmp_tasks> openmp_tasks_;
  event_list events_;
  /// By identifier: where the regions stand that are open, the one begun last at the back.
  std::map<___onx_id, std::vector<region_place>> open_regions_;
  std::uint64_t replayed_domain_ = 0;
  std::string_view replayed_domain_text_;
  number_set threads_;
  number_set cores_;
};
