#include "traceml/kzr_traceml_writer.h"

#include <array>
#include <charconv>
#include <cstring>
#include <iostream>

#include "common/text_buffer.h"

namespace {

constexpr std::string_view unknown = "unknown";
constexpr std::string_view omp_parallel_region = "omp_parallel_region";
constexpr char end_of_line[] = "/>\n";
constexpr std::size_t longest_kept_tail = 1024;

/// The node that a task on `symbol` runs; null when the symbol has none.
const node_symbol* find_running_node(kzr_symbol* symbol) {
  if (const auto* const body = symbol_cast<body_symbol>(symbol)) return &body->node();
  if (const auto* const port = symbol_cast<port_symbol>(symbol)) return &port->node();
  return symbol_cast<node_symbol>(symbol);
}

}  // namespace

kzr_traceml_writer::~kzr_traceml_writer() {
  const std::uint64_t end = last_timestamp_ + 1;
  for (std::size_t tid = 0; tid < open_tasks_.size(); ++tid) {
    while (open_tasks_[tid] > 0) {
      std::cerr << "WARNING: adding extra task_end to complete open task in _kzr." << tid << '\n';
      task_end(end, static_cast<int>(tid));
    }
  }
  file_.write_line("</traceml>\n");
}

namespace {

template <std::size_t Size>
char* append_text(char* to, const char (&text)[Size]) {
  std::memcpy(to, text, Size - 1);
  return to + Size - 1;
}

/// Most threads and processors have one digit.
template <class Number>
char* append_digits(char* to, Number number) {
  constexpr std::size_t most_digits = 20;
  if (number >= 0 && number <= 9) {
    *to = static_cast<char>('0' + number);
    return to + 1;
  }
  return std::to_chars(to, to + most_digits, number).ptr;
}

/// The longest that the functions below write.
constexpr std::size_t longest_start = 112;

/// Behind the timestamp of a line.
char* append_thread(char* to, int tid) {
  to = append_text(to, "\" tid=\"");
  to = append_digits(to, tid);
  return append_text(to, "\"");
}

char* append_task_start(timestamp_digits& timestamps, char* to, std::uint64_t ts, int tid,
                        unsigned long cid) {
  to = append_text(to, "<task_begin ts=\"");
  to = append_thread(timestamps.append(to, ts), tid);
  to = append_text(to, " cid=\"");
  to = append_digits(to, cid);
  return append_text(to, "\"");
}

}  // namespace

void kzr_traceml_writer::start_line(std::string_view element, std::uint64_t ts, int tid) {
  std::array<char, longest_start> start;
  line_.clear();
  line_ += '<';
  line_ += element;
  line_ += " ts=\"";
  line_ += std::string_view(start.data(), append_thread(timestamps_.append(start.data(), ts), tid));
}

void kzr_traceml_writer::start_task_line(std::uint64_t ts, int tid, unsigned long cid) {
  std::array<char, longest_start> start;
  line_.assign(start.data(), append_task_start(timestamps_, start.data(), ts, tid, cid));
}

void kzr_traceml_writer::finish_line(std::uint64_t ts) {
  line_ += end_of_line;
  file_.write_line(line_);
  last_timestamp_ = ts;
}

void kzr_traceml_writer::finish_task_line(std::uint64_t ts, std::string_view stream) {
  add_text("stream", stream);
  finish_line(ts);
}

void kzr_traceml_writer::open_task(int tid) {
  const auto thread = static_cast<std::size_t>(tid);
  if (thread >= open_tasks_.size()) open_tasks_.resize(thread + 1);
  ++open_tasks_[thread];
}

void kzr_traceml_writer::add_text(std::string_view name, std::string_view value) {
  line_ += ' ';
  line_ += name;
  line_ += "=\"";
  line_ += value;
  line_ += '"';
}

void kzr_traceml_writer::add_id(std::string_view name, const node_symbol* node) {
  line_ += ' ';
  line_ += name;
  line_ += "=\"";
  if (node != nullptr) {
    node->append_gml_id(line_);
  } else {
    line_ += unknown;
  }
  line_ += '"';
}

void kzr_traceml_writer::add_id(std::string_view name, const graph_symbol* graph) {
  line_ += ' ';
  line_ += name;
  line_ += "=\"";
  if (graph != nullptr) {
    graph->append_gml_id(line_);
  } else {
    line_ += unknown;
  }
  line_ += '"';
}

void kzr_traceml_writer::add_id(std::string_view name, const parallel_region_symbol* region) {
  if (region != nullptr) {
    add_text(name, region->gml_id());
  } else {
    add_text(name, unknown);
  }
}

void kzr_traceml_writer::graph_creation(std::uint64_t ts, int tid,
                                        const std::shared_ptr<graph_symbol>& graph) {
  start_line("graph", ts, tid);
  add_id("id", graph.get());
  finish_line(ts);
}

void kzr_traceml_writer::node_creation(std::uint64_t ts, unsigned long kind, int tid,
                                       const std::shared_ptr<node_symbol>& node) {
  start_line("node", ts, tid);
  add_id("graph", &node->graph_for_ports());
  add_text("node_type", dm_.handle_text(kind));
  add_id("id", node.get());
  finish_line(ts);
}

void kzr_traceml_writer::make_edge(std::uint64_t ts, int tid, const std::shared_ptr<edge_symbol>& edge) {
  add_edge("make_edge", ts, tid, edge.get());
}

void kzr_traceml_writer::remove_edge(std::uint64_t ts, int tid, const std::shared_ptr<edge_symbol>& edge) {
  add_edge("remove_edge", ts, tid, edge.get());
}

void kzr_traceml_writer::add_edge(std::string_view element, std::uint64_t ts, int tid,
                                  const edge_symbol* edge) {
  if (edge == nullptr) {
    last_timestamp_ = ts;
    return;
  }
  start_line(element, ts, tid);
  add_id("graph", &edge->graph());
  line_ += ' ';
  edge->append_accessors(dm_.handles(), line_);
  finish_line(ts);
}

void kzr_traceml_writer::region_begin(std::uint64_t ts, int tid, const std::shared_ptr<node_symbol>& node,
                                      const std::shared_ptr<graph_symbol>& graph) {
  add_region("region_begin", ts, tid, node.get(), graph.get());
}

void kzr_traceml_writer::region_end(std::uint64_t ts, int tid, const std::shared_ptr<node_symbol>& node,
                                    const std::shared_ptr<graph_symbol>& graph) {
  add_region("region_end", ts, tid, node.get(), graph.get());
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

void kzr_traceml_writer::task_begin(std::uint64_t ts, int tid, const std::shared_ptr<kzr_symbol>& symbol,
                                    unsigned long marker, unsigned long cid, std::string_view stream) {
  const std::string& tail = tail_of_task(symbol.get(), marker, stream);
  start_task_line(ts, tid, cid);
  line_ += tail;
  file_.write_line(line_);
  last_timestamp_ = ts;
  open_task(tid);
}

const std::string& kzr_traceml_writer::tail_of_task(kzr_symbol* symbol, unsigned long marker,
                                                    std::string_view stream) {
  const std::uint64_t spread = spread_bits(symbol_list::position_of(symbol) + marker);
  task_tail& tail = task_tails_[spread % task_tails_.size()];
  // A few nodes deep inside others have ids of any length; theirs are not worth the room.
  if (tail.text.size() > longest_kept_tail) tail.text = {};
  if (tail.text.empty() || tail.symbol != symbol || tail.marker != marker || tail.stream != stream) {
    line_.clear();
    add_task(symbol, marker);
    add_text("stream", stream);
    line_ += end_of_line;
    tail = {symbol, marker, std::string(stream), std::string(line_.view())};
  }
  return tail.text;
}

void kzr_traceml_writer::add_task(kzr_symbol* symbol, unsigned long marker) {
  const graph_symbol* parent = nullptr;
  if (const node_symbol* const node = find_running_node(symbol)) {
    add_id("id", node);
    parent = &node->graph_for_ports();
  } else {
    const auto* const graph = symbol_cast<graph_symbol>(symbol);
    add_id("id", graph);
    if (graph != nullptr) parent = graph->get_enclosing_graph().get();
  }
  add_text("type", "node");
  add_id("parent", parent);
  add_text("algorithm", dm_.handles().is_output_port(marker) ? "graph::async_try_put" : "graph::node_body");
}

void kzr_traceml_writer::task_end(std::uint64_t ts, int tid) {
  const auto thread = static_cast<std::size_t>(tid);
  if (thread >= open_tasks_.size() || open_tasks_[thread] == 0) {
    last_timestamp_ = ts;
    return;
  }
  --open_tasks_[thread];
  start_line("task_end", ts, tid);
  finish_line(ts);
}

void kzr_traceml_writer::omp_parallel_region_begin(std::uint64_t ts, int tid,
                                                   const std::shared_ptr<node_symbol>& node,
                                                   const std::shared_ptr<graph_symbol>& graph, unsigned long,
                                                   unsigned long cid, std::string_view stream) {
  // Opens no task: the task of the region is opened by its parts.
  start_task_line(ts, tid, cid);
  add_id("id", node.get());
  add_text("type", "algorithm");
  add_id("parent", graph.get());
  add_text("algorithm", omp_parallel_region);
  finish_task_line(ts, stream);
}

void kzr_traceml_writer::explicit_task_begin(std::uint64_t ts, int tid,
                                             const std::shared_ptr<node_symbol>& node,
                                             const std::shared_ptr<graph_symbol>& graph, unsigned long,
                                             unsigned long cid, std::string_view stream) {
  start_task_line(ts, tid, cid);
  add_id("id", node.get());
  add_text("type", "node");
  add_id("parent", graph.get());
  add_text("algorithm", omp_parallel_region);
  finish_task_line(ts, stream);
  open_task(tid);
}

void kzr_traceml_writer::parallel_region_begin(std::uint64_t ts, int tid,
                                               const std::shared_ptr<parallel_region_symbol>& region,
                                               unsigned long, unsigned long cid, std::string_view stream) {
  start_task_line(ts, tid, cid);
  add_id("id", region.get());
  add_text("type", "algorithm");
  add_id("parent", region ? region->parent() : nullptr);
  add_text("algorithm", region ? dm_.handle_text(region->handle()) : "");
  finish_task_line(ts, stream);
  open_task(tid);
}

void kzr_traceml_writer::parallel_task_begin(std::uint64_t ts, int tid,
                                             const std::shared_ptr<parallel_region_symbol>& region,
                                             unsigned long, unsigned long cid, std::string_view stream) {
  const std::string_view name = region ? dm_.handle_text(region->handle()) : "";
  start_task_line(ts, tid, cid);
  add_sequence_number(region ? region->gml_id() : std::string(unknown));
  add_id("parent", region ? region->parent() : nullptr);
  if (name == "pwl_flow_graph") {
    add_text("type", "node");
    add_text("algorithm", "graph");
  } else {
    add_text("type", "algorithm");
    add_text("algorithm", name);
  }
  finish_task_line(ts, stream);
  open_task(tid);
}

void kzr_traceml_writer::implicit_task_begin(std::uint64_t ts, int tid,
                                             const std::shared_ptr<graph_symbol>& graph, unsigned long kind,
                                             unsigned long cid, std::string_view stream) {
  const std::string_view name = dm_.handle_text(kind);
  start_task_line(ts, tid, cid);
  add_sequence_number(name);
  add_text("type", name == "omp_barrier" ? "barrier" : "algorithm");
  add_id("parent", graph.get());
  add_text("algorithm", omp_parallel_region);
  finish_task_line(ts, stream);
  open_task(tid);
}

void kzr_traceml_writer::add_sequence_number(std::string_view name) {
  line_ += " id=\"";
  line_ += name;
  line_ += '_';
  append_number(line_, task_sequence_number_++);
  line_ += '"';
}
