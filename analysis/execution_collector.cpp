#include "analysis/execution_collector.h"

#include "model/kzr_data_manager.h"
#include "model/parallel_region_symbol.h"
#include "model/running_node.h"
#include "processor/timeline_replay.h"

namespace {

constexpr std::string_view unknown = "unknown";

/// How many tasks the events begin at most.
std::size_t count_begins(const event_list& events) {
  event_list::reader reader(events);
  std::size_t count = 0;
  for (timeline_event event; reader.next(event);) {
    count += event.kind == tml_event_t::task_begun || event.kind == tml_event_t::implicit_task_begun ||
             event.kind == tml_event_t::explicit_task_begun;
  }
  return count;
}

}  // namespace

void execution_collector::pass_line(std::uint64_t ts, int tid) {
  last_timestamp_ = ts;
  marks_.add_line(ts, tid);
}

void execution_collector::remove_edge(std::uint64_t ts, int tid, const edge_symbol* edge) {
  last_timestamp_ = ts;
  if (edge != nullptr) marks_.add_line(ts, tid);
}

void execution_collector::region_begin(std::uint64_t ts, int tid, const node_symbol* node,
                                       const graph_symbol* graph) {
  pass_line(ts, tid);
  marks_.begin_region(ts, tid, find_region(node, graph));
}

void execution_collector::region_end(std::uint64_t ts, int tid, const node_symbol* node,
                                     const graph_symbol* graph) {
  pass_line(ts, tid);
  marks_.end_region(ts, find_region(node, graph));
}

std::uint32_t execution_collector::find_region(const node_symbol* node, const graph_symbol* graph) {
  if (node != nullptr) return nodes_.find_or_add(*node);
  return graph == nullptr ? nodes_.find_or_add(unknown) : nodes_.find_or_add(*graph);
}

void execution_collector::user_event(std::uint64_t ts, int tid, std::string_view description) {
  pass_line(ts, tid);
  marks_.add_user_event(ts, tid, description, executions_.line_count(tid));
}

void execution_collector::begin(std::uint64_t ts, int tid, std::uint32_t node, execution_kind kind) {
  pass_line(ts, tid);
  open_tasks_.begin(tid);
  executions_.begin(tid, ts, node, kind);
}

void execution_collector::task_begin(std::uint64_t ts, int tid, kzr_symbol* symbol, std::uint64_t,
                                     std::uint64_t, std::string_view) {
  if (const node_symbol* const node = find_running_node(symbol)) {
    begin(ts, tid, nodes_.find_or_add(*node));
  } else if (const auto* const graph = symbol_cast<graph_symbol>(symbol)) {
    begin(ts, tid, nodes_.find_or_add(*graph));
  } else {
    begin(ts, tid, nodes_.find_or_add(unknown));
  }
}

void execution_collector::task_end(std::uint64_t ts, int tid) {
  last_timestamp_ = ts;
  if (!open_tasks_.end(tid)) return;
  marks_.add_line(ts, tid);
  executions_.end(tid, ts);
}

void execution_collector::omp_parallel_region_begin(std::uint64_t ts, int tid, const node_symbol*,
                                                    const graph_symbol*, std::uint64_t, std::string_view) {
  pass_line(ts, tid);
  executions_.pass(tid, ts);
}

void execution_collector::explicit_task_begin(std::uint64_t ts, int tid, const node_symbol* node,
                                              const graph_symbol*, std::uint64_t, std::string_view) {
  begin(ts, tid, node == nullptr ? nodes_.find_or_add(unknown) : nodes_.find_or_add(*node));
}

void execution_collector::parallel_region_begin(std::uint64_t ts, int tid,
                                                const parallel_region_symbol& region, std::uint64_t,
                                                std::string_view) {
  begin(ts, tid, nodes_.find_or_add(region.gml_id()));
}

void execution_collector::parallel_task_begin(std::uint64_t ts, int tid, const parallel_region_symbol& region,
                                              std::uint64_t, std::string_view) {
  begin(ts, tid, nodes_.find_or_add(region.gml_id()));
}

void execution_collector::outer_implicit_task_begin(std::uint64_t ts, int tid, const graph_symbol*,
                                                    std::uint64_t, std::uint64_t, std::string_view) {
  pass_line(ts, tid);
  open_tasks_.begin(tid);
  executions_.begin_outer(tid, ts);
}

void execution_collector::implicit_task_begin(std::uint64_t ts, int tid, const graph_symbol*,
                                              std::uint64_t kind, std::uint64_t, std::string_view) {
  const std::string_view name = model_.handles().text(kind);
  begin(ts, tid, nodes_.find_or_add(name),
        name == "omp_barrier" ? execution_kind::barrier : execution_kind::implicit_task);
}

void execution_collector::close() {
  const std::uint64_t end = last_timestamp_ + 1;
  for (int tid = 0; tid < open_tasks_.thread_count(); ++tid) {
    while (open_tasks_.has_open(tid)) task_end(end, tid);
  }
  marks_.close();
}

collected_timeline collect_timeline(const event_list& events, const kzr_data_manager& model, run_nodes& nodes,
                                    bool keeps_begin_order) {
  collected_timeline timeline;
  if (keeps_begin_order) timeline.executions.keep_begin_order();
  timeline.executions.reserve(count_begins(events));
  execution_collector collector(model, nodes, timeline.executions, timeline.marks);
  replay_events(events, model, collector);
  collector.close();
  return timeline;
}
