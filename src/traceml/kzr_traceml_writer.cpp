#include "traceml/kzr_traceml_writer.h"

#include <iostream>

#include "common/hash.h"
#include "model/gml_accessor.h"
#include "model/kzr_data_manager.h"
#include "model/parallel_region_symbol.h"
#include "model/running_node.h"

namespace {

constexpr std::string_view unknown = "unknown";
constexpr std::string_view omp_parallel_region = "omp_parallel_region";
constexpr std::size_t longest_kept_end = 1024;

}  // namespace

bool kzr_traceml_writer::close() {
  const std::uint64_t end = last_timestamp_ + 1;
  for (int tid = 0; tid < open_tasks_.thread_count(); ++tid) {
    while (open_tasks_.has_open(tid)) {
      std::cerr << "WARNING: adding extra task_end to complete open task in _kzr." << tid << '\n';
      task_end(end, tid);
    }
  }
  file_.write_line("</traceml>\n");
  return file_.close();
}

void kzr_traceml_writer::start_line(std::string_view element, std::uint64_t ts, int tid) {
  line_.clear();
  line_ += '<';
  line_ += element;
  line_ += " ts=\"";
  line_.append_number(ts);
  line_ += "\" tid=\"";
  line_.append_number(tid);
  line_ += '"';
}

void kzr_traceml_writer::start_task_line(std::uint64_t ts, int tid, std::uint64_t cid) {
  start_line("task_begin", ts, tid);
  line_ += " cid=\"";
  line_.append_number(cid);
  line_ += '"';
}

void kzr_traceml_writer::finish_line(std::uint64_t ts) {
  line_ += "/>\n";
  file_.write_line(line_);
  last_timestamp_ = ts;
}

void kzr_traceml_writer::finish_task_line(std::uint64_t ts, std::string_view stream) {
  add_text("stream", stream);
  finish_line(ts);
}

void kzr_traceml_writer::add_text(std::string_view name, std::string_view value) {
  line_ += ' ';
  line_ += name;
  line_ += "=\"";
  line_ += value;
  line_ += '"';
}

template <class Symbol>
void kzr_traceml_writer::add_id(std::string_view name, const Symbol* symbol) {
  if (symbol == nullptr) return add_text(name, unknown);
  line_ += ' ';
  line_ += name;
  line_ += "=\"";
  symbol->append_gml_id(line_);
  line_ += '"';
}

void kzr_traceml_writer::add_id(std::string_view name, const parallel_region_symbol* region) {
  add_text(name, region == nullptr ? std::string(unknown) : region->gml_id());
}

void kzr_traceml_writer::graph_creation(std::uint64_t ts, int tid, const graph_symbol* graph) {
  start_line("graph", ts, tid);
  add_id("id", graph);
  finish_line(ts);
}

void kzr_traceml_writer::node_creation(std::uint64_t ts, std::uint64_t kind, int tid,
                                       const node_symbol& node) {
  start_line("node", ts, tid);
  add_id("graph", &node.graph_for_ports());
  add_text("node_type", model_.handles().text(kind));
  add_id("id", &node);
  finish_line(ts);
}

void kzr_traceml_writer::make_edge(std::uint64_t ts, int tid, const edge_symbol& edge) {
  add_edge("make_edge", ts, tid, edge);
}

void kzr_traceml_writer::remove_edge(std::uint64_t ts, int tid, const edge_symbol* edge) {
  if (edge != nullptr) add_edge("remove_edge", ts, tid, *edge);
  last_timestamp_ = ts;
}

void kzr_traceml_writer::add_edge(std::string_view element, std::uint64_t ts, int tid,
                                  const edge_symbol& edge) {
  start_line(element, ts, tid);
  add_id("graph", &edge.graph());
  line_ += ' ';
  append_gml_accessors(edge, model_.handles(), line_);
  finish_line(ts);
}

void kzr_traceml_writer::region_begin(std::uint64_t ts, int tid, const node_symbol* node,
                                      const graph_symbol* graph) {
  add_region("region_begin", ts, tid, node, graph);
}

void kzr_traceml_writer::region_end(std::uint64_t ts, int tid, const node_symbol* node,
                                    const graph_symbol* graph) {
  add_region("region_end", ts, tid, node, graph);
}

void kzr_traceml_writer::add_region(std::string_view element, std::uint64_t ts, int tid,
                                    const node_symbol* node, const graph_symbol* graph) {
  start_line(element, ts, tid);
  if (node != nullptr) {
    add_id("id", node);
  } else {
    add_id("id", graph);
  }
  add_id("parent", graph);
  finish_line(ts);
}

void kzr_traceml_writer::user_event(std::uint64_t ts, int tid, std::string_view description) {
  start_line("user_event", ts, tid);
  add_text("description", description);
  finish_line(ts);
}

void kzr_traceml_writer::task_begin(std::uint64_t ts, int tid, kzr_symbol* symbol, std::uint64_t marker,
                                    std::uint64_t cid, std::string_view stream) {
  const std::string& end = end_of_task_line(symbol, marker, stream);
  start_task_line(ts, tid, cid);
  line_ += end;
  file_.write_line(line_);
  last_timestamp_ = ts;
  open_tasks_.begin(tid);
}

const std::string& kzr_traceml_writer::end_of_task_line(kzr_symbol* symbol, std::uint64_t marker,
                                                        std::string_view stream) {
  const std::uint64_t position = symbol == nullptr ? 0 : symbol->position();
  kept_end& end = kept_ends_[seeded_hash{}(position + marker) % kept_ends_.size()];
  // A few nodes deep inside others have ids of any length; theirs are not worth the room.
  if (end.text.size() > longest_kept_end) end.text = {};
  if (end.text.empty() || end.symbol != symbol || end.marker != marker || end.stream != stream) {
    line_.clear();
    add_task(symbol, marker);
    add_text("stream", stream);
    line_ += "/>\n";
    end = {symbol, marker, std::string(stream), std::string(line_.view())};
  }
  return end.text;
}

void kzr_traceml_writer::add_task(kzr_symbol* symbol, std::uint64_t marker) {
  const graph_symbol* parent = nullptr;
  if (const node_symbol* const node = find_running_node(symbol)) {
    add_id("id", node);
    parent = &node->graph_for_ports();
  } else {
    add_id("id", symbol_cast<graph_symbol>(symbol));
  }
  add_text("type", "node");
  add_id("parent", parent);
  const bool is_put = model_.handles().is_output_port(marker);
  add_text("algorithm", is_put ? "graph::async_try_put" : "graph::node_body");
}

void kzr_traceml_writer::task_end(std::uint64_t ts, int tid) {
  last_timestamp_ = ts;
  if (!open_tasks_.end(tid)) return;
  start_line("task_end", ts, tid);
  finish_line(ts);
}

void kzr_traceml_writer::omp_parallel_region_begin(std::uint64_t ts, int tid, const node_symbol* node,
                                                   const graph_symbol* graph, std::uint64_t cid,
                                                   std::string_view stream) {
  // Opens no task: the task of the region is opened by its parts.
  start_task_line(ts, tid, cid);
  add_id("id", node);
  add_text("type", "algorithm");
  add_id("parent", graph);
  add_text("algorithm", omp_parallel_region);
  finish_task_line(ts, stream);
}

void kzr_traceml_writer::explicit_task_begin(std::uint64_t ts, int tid, const node_symbol* node,
                                             const graph_symbol* graph, std::uint64_t cid,
                                             std::string_view stream) {
  start_task_line(ts, tid, cid);
  add_id("id", node);
  add_text("type", "node");
  add_id("parent", graph);
  add_text("algorithm", omp_parallel_region);
  finish_task_line(ts, stream);
  open_tasks_.begin(tid);
}

void kzr_traceml_writer::parallel_region_begin(std::uint64_t ts, int tid,
                                               const parallel_region_symbol& region, std::uint64_t cid,
                                               std::string_view stream) {
  start_task_line(ts, tid, cid);
  add_id("id", &region);
  add_text("type", "algorithm");
  add_id("parent", region.parent());
  add_text("algorithm", model_.handles().text(region.handle()));
  finish_task_line(ts, stream);
  open_tasks_.begin(tid);
}

void kzr_traceml_writer::parallel_task_begin(std::uint64_t ts, int tid, const parallel_region_symbol& region,
                                             std::uint64_t cid, std::string_view stream) {
  const std::string_view name = model_.handles().text(region.handle());
  start_task_line(ts, tid, cid);
  add_sequence_number(region.gml_id());
  add_id("parent", region.parent());
  if (name == "pwl_flow_graph") {
    add_text("type", "node");
    add_text("algorithm", "graph");
  } else {
    add_text("type", "algorithm");
    add_text("algorithm", name);
  }
  finish_task_line(ts, stream);
  open_tasks_.begin(tid);
}

void kzr_traceml_writer::implicit_task_begin(std::uint64_t ts, int tid, const graph_symbol* graph,
                                             std::uint64_t kind, std::uint64_t cid, std::string_view stream) {
  const std::string_view name = model_.handles().text(kind);
  start_task_line(ts, tid, cid);
  add_sequence_number(name);
  add_text("type", name == "omp_barrier" ? "barrier" : "algorithm");
  add_id("parent", graph);
  add_text("algorithm", omp_parallel_region);
  finish_task_line(ts, stream);
  open_tasks_.begin(tid);
}

void kzr_traceml_writer::add_sequence_number(std::string_view name) {
  line_ += " id=\"";
  line_ += name;
  line_ += '_';
  line_.append_number(task_sequence_number_++);
  line_ += '"';
}
