#include "kzr/report/report_json.h"

#include <array>
#include <charconv>
#include <nlohmann/json.hpp>
#include <ostream>

#include "kzr/common/utf8.h"
#include "kzr/dump/summary_json.h"
#include "kzr/report/run_report.h"

namespace {

constexpr int format = 1;

std::string json_text(std::string_view text) { return nlohmann::json(valid_utf8(text)).dump(); }
std::string json_text_or_null(std::string_view text) { return text.empty() ? "null" : json_text(text); }

std::string number_or_null(const std::optional<std::uint64_t>& number) {
  return number ? std::to_string(*number) : "null";
}

std::string number_or_null(const std::optional<double>& number) {
  if (!number) return "null";
  std::array<char, 32> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), *number);
  return {digits.data(), result.ptr};
}

/// Writes the object piece by piece: ticks may need more than the 64 bits that the library has for a number,
/// and a path more memory than there is if it was held as a tree.
class json_writer {
 public:
  json_writer(const run_report& report, std::ostream& out) : report_(report), out_(out) {
    ids_.resize(report.nodes.size());
    for (std::uint32_t node = 0; node < report.nodes.size(); ++node) {
      if (report.is_listed(node)) ids_[node] = json_text(report.nodes[node].id);
    }
  }

  void write() {
    out_ << "{\n  \"format\": " << format << ",\n";
    write_run();
    write_threads();
    write_concurrency();
    write_nodes();
    write_path();
    out_ << "}\n";
  }

 private:
  void write_run() {
    const run_figures& figures = report_.figures;
    nlohmann::json damaged = nlohmann::json::array();
    for (const file_survey& file : report_.summary().files) {
      if (file.ending != file_ending::closed) damaged.push_back(valid_utf8(file.path));
    }
    out_ << "  \"run\": {\n    \"name\": " << json_text(report_.name)
         << ",\n    \"frequency\": " << json_text(report_.summary().frequency)
         << ",\n    \"makespan_ticks\": " << figures.span.ticks()
         << ",\n    \"threads\": " << figures.threads.size()
         << ",\n    \"executions\": " << figures.executions
         << ",\n    \"average_parallelism\": " << number_or_null(figures.average_parallelism)
         << ",\n    \"utilisation\": " << number_or_null(figures.utilisation)
         << ",\n    \"imbalance\": " << number_or_null(figures.imbalance)
         << ",\n    \"path_rest_ticks\": " << report_.path.rest_ticks
         << ",\n    \"damaged_files\": " << damaged.dump()
         << ",\n    \"warnings\": " << warnings_json(report_.summary()).dump()
         << ",\n    \"converter_end\": " << json_text_or_null(report_.summary().converter_end) << "\n  },\n";
  }

  /// An array with an element a line; `write` writes the one with the given index.
  template <class Write>
  void write_array(const char* name, std::size_t size, bool is_last, Write write) {
    out_ << "  \"" << name << "\": [";
    for (std::size_t i = 0; i < size; ++i) {
      out_ << (i == 0 ? "\n    {" : ",\n    {");
      write(i);
      out_ << '}';
    }
    out_ << (size == 0 ? "]" : "\n  ]") << (is_last ? "\n" : ",\n");
  }

  void write_threads() {
    write_array("threads", report_.figures.threads.size(), false, [this](std::size_t i) {
      const thread_figures& thread = report_.figures.threads[i];
      out_ << "\"thread\": " << thread.thread << ", \"executions\": " << thread.executions
           << ", \"busy_ticks\": " << thread.busy_ticks
           << ", \"first_begin\": " << number_or_null(thread.first_begin)
           << ", \"last_end\": " << number_or_null(thread.last_end);
    });
  }

  void write_concurrency() {
    write_array("concurrency", report_.figures.concurrency.size(), false, [this](std::size_t i) {
      out_ << "\"busy_threads\": " << i << ", \"ticks\": " << report_.figures.concurrency[i];
    });
  }

  void write_nodes() {
    const std::vector<std::uint32_t> nodes = list_nodes(report_);
    write_array("nodes", nodes.size(), false, [this, &nodes](std::size_t i) { write_node(nodes[i]); });
  }

  void write_node(std::uint32_t number) {
    const node_figures& node = report_.figures.nodes[number];
    const auto code = report_.code.find(number);
    const code_place place = code == report_.code.end() ? code_place() : code->second;
    out_ << "\"id\": " << ids_[number] << ", \"name\": " << json_text(report_.name_of(number))
         << ", \"executions\": " << node.executions << ", \"threads\": " << node.threads
         << ", \"total_ticks\": " << decimal_text(node.total_ticks)
         << ", \"self_ticks\": " << decimal_text(node.self_ticks);
    write_spread(node);
    out_ << ", \"idle_share_ticks\": " << thousandths_text(node.idle_share_thousandths)
         << ", \"function\": " << json_text_or_null(place.function)
         << ", \"source\": " << json_text_or_null(place.source);
  }

  void write_spread(const node_figures& node) {
    const auto& spread = node.inclusive;
    const auto write = [this, &spread](const char* name, std::uint64_t node_figures::spread::*ticks) {
      out_ << ", \"" << name << "\": ";
      if (spread) {
        out_ << (*spread).*ticks;
      } else {
        out_ << "null";
      }
    };
    write("min_ticks", &node_figures::spread::min_ticks);
    out_ << ", \"mean_ticks\": " << (spread ? thousandths_text(node.mean_thousandths()) : "null");
    write("p50_ticks", &node_figures::spread::p50_ticks);
    write("p90_ticks", &node_figures::spread::p90_ticks);
    write("p99_ticks", &node_figures::spread::p99_ticks);
    write("max_ticks", &node_figures::spread::max_ticks);
    write("first_begin", &node_figures::spread::first_begin);
    write("last_end", &node_figures::spread::last_end);
  }

  void write_path() {
    write_array("path", report_.path.steps.size(), true, [this](std::size_t i) {
      const auto& [execution, kind, gap_ticks] = report_.path.steps[i];
      const execution_table& executions = report_.executions;
      out_ << "\"id\": " << ids_[executions.node_of(execution)]
           << ", \"thread\": " << executions.thread_of(execution)
           << ", \"begin\": " << executions.begin_of(execution)
           << ", \"end\": " << executions.end_of(execution) << ", \"gap_ticks\": " << gap_ticks
           << ", \"gap_kind\": " << json_text_or_null(name_of(kind));
    });
  }

  const run_report& report_;
  std::ostream& out_;
  std::vector<std::string> ids_;  ///< by node, in quotes
};

}  // namespace

void write_json(const run_report& report, std::ostream& out) { json_writer(report, out).write(); }
