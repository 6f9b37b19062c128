#include "kzr/export/run_tables.h"

#include <array>
#include <initializer_list>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "common/text_buffer.h"
#include "kzr/export/escaped_text.h"
#include "kzr/export/shown_edges.h"
#include "kzr/export/table_sink.h"
#include "kzr/output/byte_sink.h"
#include "model/edge_symbol.h"
#include "model/gml_accessor.h"
#include "model/node_type.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"

namespace {

constexpr std::array run_columns = {
    table_column{"name", "TEXT NOT NULL"},
    table_column{"frequency", "TEXT NOT NULL"},
    table_column{"openmp", "INTEGER NOT NULL"},
    table_column{"first_time", "INTEGER"},
    table_column{"last_time", "INTEGER"},
    table_column{"makespan_ticks", "INTEGER NOT NULL"},
    table_column{"threads", "INTEGER NOT NULL"},
    table_column{"executions", "INTEGER NOT NULL"},
    table_column{"average_parallelism", "REAL"},
    table_column{"utilisation", "REAL"},
    table_column{"imbalance", "REAL"},
    table_column{"path_rest_ticks", "INTEGER NOT NULL"},
    table_column{"damaged_files", "INTEGER NOT NULL"},
    table_column{"converter_end", "TEXT"},
};
constexpr table_form run_table = {"run", run_columns};

constexpr std::array warning_columns = {
    table_column{"message", "TEXT PRIMARY KEY NOT NULL"},
    table_column{"count", "INTEGER NOT NULL"},
};
constexpr table_form warning_table = {"warning", warning_columns};

constexpr std::array graph_columns = {
    table_column{"id", "TEXT PRIMARY KEY NOT NULL"},
    table_column{"parent", "TEXT REFERENCES graph (id)"},
};
constexpr table_form graph_table = {"graph", graph_columns};

constexpr std::array node_columns = {
    table_column{"id", "TEXT PRIMARY KEY NOT NULL"},
    table_column{"name", "TEXT NOT NULL"},
    table_column{"graph", "TEXT REFERENCES graph (id)"},
    table_column{"composite", "INTEGER NOT NULL"},
    table_column{"kind", "TEXT"},
    table_column{"code", "TEXT"},
    table_column{"function", "TEXT"},
    table_column{"source", "TEXT"},
    table_column{"executions", "INTEGER NOT NULL"},
    table_column{"threads", "INTEGER NOT NULL"},
    table_column{"total_ticks", "INTEGER NOT NULL"},
    table_column{"self_ticks", "INTEGER NOT NULL"},
    table_column{"min_ticks", "INTEGER"},
    table_column{"mean_ticks", "REAL"},
    table_column{"p50_ticks", "INTEGER"},
    table_column{"p90_ticks", "INTEGER"},
    table_column{"p99_ticks", "INTEGER"},
    table_column{"max_ticks", "INTEGER"},
    table_column{"first_begin", "INTEGER"},
    table_column{"last_end", "INTEGER"},
    table_column{"idle_share_ticks", "REAL NOT NULL"},
};
constexpr table_form node_table = {"node", node_columns};

constexpr std::array port_columns = {
    table_column{"node", "TEXT NOT NULL REFERENCES node (id)"},
    table_column{"position", "INTEGER NOT NULL"},
    table_column{"type", "TEXT NOT NULL"},
    table_column{"name", "TEXT NOT NULL"},
    table_column{"offset", "INTEGER NOT NULL"},
};
constexpr table_form port_table = {"port", port_columns, "node, position"};

constexpr std::array edge_columns = {
    table_column{"id", "TEXT PRIMARY KEY NOT NULL"},
    table_column{"graph", "TEXT NOT NULL REFERENCES graph (id)"},
    table_column{"source", "TEXT NOT NULL REFERENCES node (id)"},
    table_column{"source_port", "TEXT NOT NULL"},
    table_column{"target", "TEXT NOT NULL REFERENCES node (id)"},
    table_column{"target_port", "TEXT NOT NULL"},
    table_column{"inner_source", "TEXT REFERENCES node (id)"},
    table_column{"inner_source_port", "TEXT"},
    table_column{"inner_target", "TEXT REFERENCES node (id)"},
    table_column{"inner_target_port", "TEXT"},
};
constexpr table_form edge_table_form = {"edge", edge_columns};

constexpr std::array thread_columns = {
    table_column{"id", "INTEGER PRIMARY KEY"},
    table_column{"executions", "INTEGER NOT NULL"},
    table_column{"busy_ticks", "INTEGER NOT NULL"},
    table_column{"first_begin", "INTEGER"},
    table_column{"last_end", "INTEGER"},
};
constexpr table_form thread_table = {"thread", thread_columns};

constexpr std::array execution_columns = {
    table_column{"id", "INTEGER PRIMARY KEY"},
    table_column{"node", "TEXT NOT NULL REFERENCES node (id)"},
    table_column{"thread", "INTEGER NOT NULL REFERENCES thread (id)"},
    table_column{"begin", "INTEGER NOT NULL"},
    table_column{"end", "INTEGER NOT NULL"},
    table_column{"self", "INTEGER NOT NULL"},
    table_column{"depth", "INTEGER NOT NULL"},
};
constexpr table_form execution_table_form = {
    .name = "execution", .columns = execution_columns, .may_be_cut = true};

constexpr std::array path_columns = {
    table_column{"position", "INTEGER PRIMARY KEY"},
    table_column{"execution", "INTEGER NOT NULL REFERENCES execution (id)"},
    table_column{"gap_ticks", "INTEGER NOT NULL"},
    table_column{"gap_kind", "TEXT"},
};
constexpr table_form path_table = {"path", path_columns};

constexpr std::array region_columns = {
    table_column{"id", "INTEGER PRIMARY KEY"},
    table_column{"node", "TEXT NOT NULL REFERENCES node (id)"},
    table_column{"thread", "INTEGER NOT NULL REFERENCES thread (id)"},
    table_column{"begin", "INTEGER NOT NULL"},
    table_column{"end", "INTEGER NOT NULL"},
};
constexpr table_form region_table = {"region", region_columns};

constexpr std::array user_event_columns = {
    table_column{"id", "INTEGER PRIMARY KEY"},
    table_column{"thread", "INTEGER NOT NULL REFERENCES thread (id)"},
    table_column{"time", "INTEGER NOT NULL"},
    table_column{"description", "TEXT NOT NULL"},
};
constexpr table_form user_event_table = {"user_event", user_event_columns};

/// A number that is known to fit.
template <class Number>
cell whole(Number number) {
  return static_cast<std::int64_t>(number);
}

cell whole_or_none(const std::optional<std::uint64_t>& number) { return number ? whole(*number) : cell(); }
cell real_or_none(const std::optional<double>& number) { return number ? cell(*number) : cell(); }
cell text_or_none(std::string_view text) { return text.empty() ? cell() : cell(text); }

/// The ids of nodes as a table can hold them. Where two would then be the same, the later one gets further
/// characters U+FFFD: each row needs an id of its own.
class storable_ids {
 public:
  explicit storable_ids(const run_nodes& nodes) : nodes_(nodes) {
    for (std::uint32_t node = 0; node < nodes.size(); ++node) {
      std::string storable = storable_text(nodes[node].id);
      if (storable != nodes[node].id) renamed_.emplace(node, std::move(storable));
    }
    if (!renamed_.empty()) make_unique();
  }

  [[nodiscard]] std::string_view operator[](std::uint32_t node) const {
    const auto renamed = renamed_.find(node);
    return renamed == renamed_.end() ? std::string_view(nodes_[node].id) : renamed->second;
  }

 private:
  void make_unique() {
    std::unordered_set<std::string_view> taken;
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
      if (!renamed_.contains(node)) taken.insert(nodes_[node].id);
    }
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
      const auto renamed = renamed_.find(node);
      if (renamed == renamed_.end()) continue;
      while (taken.contains(renamed->second)) renamed->second += "\uFFFD";
      taken.insert(renamed->second);
    }
  }

  const run_nodes& nodes_;
  std::unordered_map<std::uint32_t, std::string> renamed_;
};

class table_writer {
 public:
  table_writer(const run_report& report, table_sink& sink)
      : report_(report), sink_(sink), ids_(report.nodes) {}

  void write() {
    write_run();
    write_warnings();
    write_graphs();
    write_nodes();
    write_ports();
    write_edges();
    write_threads();
    write_executions();
    write_path();
    write_regions();
    write_user_events();
  }

 private:
  void add(std::initializer_list<cell> row) { sink_.add_row({row.begin(), row.size()}); }

  void write_run() {
    const run_summary& summary = report_.summary();
    const run_figures& figures = report_.figures;
    const bool has_lines = report_.marks.has_lines();
    std::int64_t damaged_files = 0;
    for (const file_survey& file : summary.files) damaged_files += file.ending != file_ending::closed ? 1 : 0;
    sink_.begin(run_table);
    add({std::string_view(report_.name), std::string_view(summary.frequency), whole(summary.omp_experimental),
         has_lines ? whole(report_.marks.first_time()) : cell(),
         has_lines ? whole(report_.marks.last_time()) : cell(), whole(figures.span.ticks()),
         whole(figures.threads.size()), whole(figures.executions), real_or_none(figures.average_parallelism),
         real_or_none(figures.utilisation), real_or_none(figures.imbalance), whole(report_.path.rest_ticks),
         damaged_files, text_or_none(summary.converter_end)});
    sink_.end();
  }

  void write_warnings() {
    sink_.begin(warning_table);
    for (const auto& [message, count] : report_.summary().warnings) {
      add({std::string_view(message), whole(count)});
    }
    sink_.end();
  }

  void write_graphs() {
    sink_.begin(graph_table);
    std::unordered_set<std::string> known;
    for (const graph_symbol* const graph : report_.recorded.model->files().front().graphs) {
      const auto [id, is_new] = known.emplace(id_of(*graph));
      if (is_new) add({std::string_view(*id), {}});
    }
    for_each_shown([this](std::uint32_t number, const node_symbol& node) {
      if (report_.nodes[number].is_composite) add({ids_[number], std::string_view(id_of(node.own_graph()))});
    });
    sink_.end();
  }

  void write_nodes() {
    find_named_nodes();
    sink_.begin(node_table);
    for (std::uint32_t node = 0; node < report_.nodes.size(); ++node) {
      if (is_named_[node]) write_node(node);
    }
    sink_.end();
  }

  /// Besides those that the report lists: what an edge or a region names.
  void find_named_nodes() {
    is_named_.resize(report_.nodes.size());
    for (std::uint32_t node = 0; node < report_.nodes.size(); ++node)
      is_named_[node] = report_.is_listed(node);
    for (const timeline_marks::region& region : report_.marks.regions()) is_named_[region.node] = true;
    shown_edges(report_).for_each([this](const shown_edge& edge) {
      is_named_[report_.nodes.get(edge.ends.source->node())] = true;
      is_named_[report_.nodes.get(edge.ends.target->node())] = true;
    });
  }

  void write_node(std::uint32_t number) {
    const node_symbol* const shown = report_.nodes[number].shown;
    const node_figures& figures = report_.figures.nodes[number];
    const auto code = report_.code.find(number);
    const code_place place = code == report_.code.end() ? code_place() : code->second;
    const std::string name = report_.name_of(number);
    const std::string graph = shown == nullptr ? "" : id_of(shown->own_graph());
    std::string line_no;
    if (shown != nullptr && !shown->code_location().empty()) {
      line_no = report_.nodes[number].id + "::" + std::string(shown->code_location());
    }
    const cell kind = shown == nullptr ? cell() : cell(node_type_of(*report_.recorded.model, *shown));
    const auto spread = [&figures](std::uint64_t node_figures::spread::*ticks) {
      return figures.inclusive ? whole((*figures.inclusive).*ticks) : cell();
    };
    using inclusive = node_figures::spread;
    add({ids_[number],
         std::string_view(name),
         text_or_none(graph),
         whole(report_.nodes[number].is_composite),
         kind,
         text_or_none(line_no),
         text_or_none(place.function),
         text_or_none(place.source),
         whole(figures.executions),
         whole(figures.threads),
         figures.total_ticks,
         figures.self_ticks,
         spread(&inclusive::min_ticks),
         figures.inclusive ? cell(thousandths_cell{figures.mean_thousandths()}) : cell(),
         spread(&inclusive::p50_ticks),
         spread(&inclusive::p90_ticks),
         spread(&inclusive::p99_ticks),
         spread(&inclusive::max_ticks),
         spread(&inclusive::first_begin),
         spread(&inclusive::last_end),
         thousandths_cell{figures.idle_share_thousandths}});
  }

  void write_ports() {
    sink_.begin(port_table);
    for_each_shown([this](std::uint32_t number, const node_symbol& node) {
      std::int64_t position = 0;
      for (const std::span<port_symbol* const> ports : {node.input_ports(), node.output_ports()}) {
        for (const port_symbol* const port : ports) {
          const std::string_view type = port->is_input() ? "input" : "output";
          add({ids_[number], ++position, type, std::string_view(name_of(*port)), whole(port->offset())});
        }
      }
    });
    sink_.end();
  }

  void write_edges() {
    sink_.begin(edge_table_form);
    shown_edges(report_).for_each([this](const shown_edge& edge) {
      text_buffer id;
      append_edge_id(edge.edge, id);
      const std::string source_port = name_of(*edge.ends.source);
      const std::string target_port = name_of(*edge.ends.target);
      const std::string inner_source_port = edge.inner.source == nullptr ? "" : name_of(*edge.inner.source);
      const std::string inner_target_port = edge.inner.target == nullptr ? "" : name_of(*edge.inner.target);
      const auto port_cell = [](const port_symbol* port, std::string_view name) {
        return port == nullptr ? cell() : cell(name);
      };
      add({id.view(), std::string_view(id_of(edge.edge.graph())), node_cell(edge.ends.source),
           std::string_view(source_port), node_cell(edge.ends.target), std::string_view(target_port),
           node_cell(edge.inner.source), port_cell(edge.inner.source, inner_source_port),
           node_cell(edge.inner.target), port_cell(edge.inner.target, inner_target_port)});
    });
    sink_.end();
  }

  void write_threads() {
    sink_.begin(thread_table);
    auto figures = report_.figures.threads.begin();
    for (int thread = 0; thread < report_.marks.thread_count(); ++thread) {
      if (!report_.marks.has_lines_of(thread)) continue;
      thread_figures own;
      if (figures != report_.figures.threads.end() && figures->thread == thread) own = *figures++;
      add({whole(thread), whole(own.executions), whole(own.busy_ticks), whole_or_none(own.first_begin),
           whole_or_none(own.last_end)});
    }
    sink_.end();
  }

  void write_executions() {
    const execution_table& executions = report_.executions;
    std::vector<std::uint32_t> by_begin(executions.size());
    std::vector<std::uint64_t> self_ticks(executions.size());
    for (std::uint32_t i = 0; i < executions.size(); ++i) {
      by_begin[executions.begin_number_of(i)] = i;
      self_ticks[i] += executions.duration_of(i);
      const std::uint32_t parent = executions.parent_of(i);
      // Wraps below 0 until the parent's own turn comes, which is later.
      if (parent != execution_table::none) self_ticks[parent] -= executions.duration_of(i);
    }
    sink_.begin(execution_table_form);
    std::vector<std::vector<std::uint32_t>> open(static_cast<std::size_t>(executions.thread_count()));
    for (const std::uint32_t i : by_begin) {
      std::vector<std::uint32_t>& around = open[static_cast<std::size_t>(executions.thread_of(i))];
      while (!around.empty() && around.back() != executions.parent_of(i)) around.pop_back();
      add({execution_id(i), ids_[executions.node_of(i)], whole(executions.thread_of(i)),
           whole(executions.begin_of(i)), whole(executions.end_of(i)), whole(self_ticks[i]),
           whole(around.size())});
      around.push_back(i);
    }
    sink_.end();
  }

  void write_path() {
    sink_.begin(path_table);
    std::int64_t position = 0;
    for (const auto& [execution, kind, gap_ticks] : report_.path.steps) {
      add({++position, execution_id(execution), whole(gap_ticks), text_or_none(::name_of(kind))});
    }
    sink_.end();
  }

  void write_regions() {
    sink_.begin(region_table);
    std::int64_t id = 0;
    for (const timeline_marks::region& region : report_.marks.regions()) {
      add({++id, ids_[region.node], whole(region.thread), whole(region.begin), whole(region.end)});
    }
    sink_.end();
  }

  void write_user_events() {
    sink_.begin(user_event_table);
    std::int64_t id = 0;
    for (const timeline_marks::user_event& event : report_.marks.user_events()) {
      add({++id, whole(event.thread), whole(event.time), std::string_view(report_.marks.text(event.text))});
    }
    sink_.end();
  }

  template <class Visit>
  void for_each_shown(Visit visit) const {
    for (std::uint32_t node = 0; node < report_.nodes.size(); ++node) {
      if (report_.nodes[node].shown != nullptr) visit(node, *report_.nodes[node].shown);
    }
  }

  [[nodiscard]] cell execution_id(std::uint32_t execution) const {
    return whole(std::int64_t{report_.executions.begin_number_of(execution)} + 1);
  }

  [[nodiscard]] cell node_cell(const port_symbol* port) const {
    return port == nullptr ? cell() : cell(ids_[report_.nodes.get(port->node())]);
  }

  [[nodiscard]] static std::string id_of(const graph_symbol& graph) {
    text_buffer id;
    graph.append_gml_id(id);
    return std::string(id.view());
  }

  [[nodiscard]] std::string name_of(const port_symbol& port) const {
    text_buffer name;
    append_port_name(port, report_.recorded.model->handles(), name);
    return std::string(name.view());
  }

  const run_report& report_;
  table_sink& sink_;
  storable_ids ids_;
  std::vector<bool> is_named_;  ///< by node
};

}  // namespace

void write_run_tables(const run_report& report, table_sink& sink) {
  if (report.marks.has_lines() && report.marks.last_time() > INT64_MAX) {
    throw output_error("a time of the run is 2^63 ticks or more, more than its numbers hold");
  }
  table_writer(report, sink).write();
}
