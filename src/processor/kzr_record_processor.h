#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "common/onx_id.h"
#include "model/domain_table.h"
#include "processor/event_collector.h"
#include "processor/openmp_subgraphs.h"
#include "processor/task_pairing.h"

class graph_symbol;
class image_table;
class kzr_data_manager;
class kzr_symbol;
class node_symbol;
class trace_record;

/// Gives the records of a run their meaning: grows the model and collects the events of the timeline. Records
/// are to be handed over by ascending timestamp.
class kzr_record_processor {
 public:
  /// Borrows the model, which it grows, and the images, in which it looks code addresses up.
  /// `enable_subgraph` turns the OpenMP sub-graph paths on.
  kzr_record_processor(kzr_data_manager& model, image_table& images, bool enable_subgraph);
  kzr_record_processor(const kzr_record_processor&) = delete;
  kzr_record_processor& operator=(const kzr_record_processor&) = delete;

  /// Handles one record. Only its texts must outlive the call; they must stay valid until the end of the run.
  /// Aborts on a wide string handle and on a kind that does not exist.
  void process_record(const trace_record& record);

  /// A node whose code is at an address, and what stands in front of that code in the list of offsets.
  struct code_owner {
    node_symbol* node = nullptr;
    const char* prefix = "";
  };
  /// The node about whose code the metadata `record` is; none when it is about something else.
  [[nodiscard]] code_owner find_code_owner(const trace_record& record);

  /// What the records handed over so far did at which time.
  [[nodiscard]] const event_collector& collected() const { return events_; }

 private:
  using record_ref = const trace_record&;

  /// An open region: its node and the graph that its record named; either may be null.
  struct open_region {
    node_symbol* node = nullptr;
    graph_symbol* graph = nullptr;
  };

  void meta_data(record_ref record);
  void meta_data_string_A(record_ref record);

  void relation(record_ref record);
  void make_edge(record_ref record);
  void remove_edge(record_ref record);
  void is_child_of(record_ref record);
  void is_parent_of(record_ref record, bool is_openmp);

  void task_group(record_ref record);
  void add_port(record_ref record, openmp_subgraphs* subgraphs);
  void add_graph(record_ref record, openmp_subgraphs* subgraphs);
  void add_node(record_ref record, openmp_subgraphs* subgraphs);
  void count_left_out(record_ref record);
  void add_parallel_region(record_ref record);
  void add_implicit_task(record_ref record);
  void task_begin(record_ref record);
  void task_end(record_ref record);

  void region_begin(record_ref record);
  void region_end(record_ref record);

  [[nodiscard]] DomainType domain_of(record_ref record);
  /// The OpenMP paths for a record of this domain; null while they are off or when it is another one.
  [[nodiscard]] openmp_subgraphs* subgraphs_for(DomainType domain);

  kzr_data_manager& model_;
  image_table& images_;
  event_collector events_;
  task_pairing pairing_;
  std::optional<openmp_subgraphs> subgraphs_;
  /// By identifier: the open regions, the one begun last at the back.
  std::map<___onx_id, std::vector<open_region>> open_regions_;
};
