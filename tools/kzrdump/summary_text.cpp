#include "kzrdump/summary_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <ostream>

#include "kzrdump/printable.h"
#include "kzrdump/problems.h"
#include "kzrdump/run_summary.h"
#include "kzrdump/text_table.h"
#include "reader/record_descriptions.h"

namespace {

constexpr auto left = text_table::align::left;
constexpr auto right = text_table::align::right;
/// So that the tables fit a screen.
constexpr std::size_t most_file_columns = 8;
constexpr std::size_t most_domains = 20;

std::string name_of_file(const file_survey& file) {
  return std::filesystem::path(file.path).filename().string();
}

std::string or_dash(const std::optional<std::uint64_t>& number) {
  return number ? std::to_string(*number) : "-";
}

void write_files(const run_summary& run, std::ostream& out) {
  text_table table({{"file", left},
                    {"format", left},
                    {"bytes"},
                    {"records"},
                    {"first time"},
                    {"last time"},
                    {"end", left}});
  for (const file_survey& file : run.files) {
    table.add_row({name_of_file(file), file.format, std::to_string(file.size_bytes),
                   std::to_string(file.record_count), or_dash(file.first_timestamp),
                   or_dash(file.last_timestamp), describe_ending(file)});
  }
  if (table.is_empty()) return;
  out << "\nTrace files\n";
  table.print(out);
}

using kind_counts = std::array<std::uint64_t, record_descriptions.size()>;

kind_counts count_kinds(const run_summary& run) {
  kind_counts totals{};
  for (const file_survey& file : run.files) {
    for (std::size_t kind = 0; kind < totals.size(); ++kind) totals[kind] += file.records_by_kind[kind];
  }
  return totals;
}

/// One line per kind that occurs, for the files from `begin` up to `end`, and for all files when
/// `with_total`.
void write_kinds_of(const run_summary& run, const kind_counts& totals, std::size_t begin, std::size_t end,
                    bool with_total, std::ostream& out) {
  std::vector<text_table::column> columns = {{"records by kind", left}};
  for (std::size_t i = begin; i < end; ++i) columns.push_back({name_of_file(run.files[i]), right});
  if (with_total) columns.push_back({"all", right});
  text_table table(std::move(columns));
  for (std::size_t kind = 0; kind < record_descriptions.size(); ++kind) {
    if (totals[kind] == 0) continue;
    std::vector<std::string> cells = {record_descriptions[kind].name};
    for (std::size_t i = begin; i < end; ++i) {
      cells.push_back(std::to_string(run.files[i].records_by_kind[kind]));
    }
    if (with_total) cells.push_back(std::to_string(totals[kind]));
    table.add_row(cells);
  }
  if (table.is_empty()) return;
  out << '\n';
  table.print(out);
}

void write_kinds(const run_summary& run, std::ostream& out) {
  const std::size_t files = run.files.size();
  const kind_counts totals = count_kinds(run);
  for (std::size_t begin = 0; begin < files; begin += most_file_columns) {
    const std::size_t end = std::min(begin + most_file_columns, files);
    write_kinds_of(run, totals, begin, end, end == files && files > 1, out);
  }
}

std::string describe_time(const run_summary& run) {
  if (!run.first_timestamp) return "-";
  std::string text = std::to_string(*run.last_timestamp - *run.first_timestamp) + " ticks";
  if (run.duration_seconds) {
    std::array<char, 64> seconds{};
    std::snprintf(seconds.data(), seconds.size(), " = %.9g s", *run.duration_seconds);
    text += seconds.data();
  }
  return text + ", from " + std::to_string(*run.first_timestamp) + " to " +
         std::to_string(*run.last_timestamp);
}

void write_run(const run_summary& run, std::ostream& out) {
  const model_counts& model = run.model;
  std::uint64_t begun = 0;
  std::uint64_t ended = 0;
  for (const auto& [producer, tasks] : run.tasks) {
    begun += tasks.begun;
    ended += tasks.ended;
  }
  out << "\nRun\n";
  const auto line = [&out](const char* title, const std::string& value) {
    out << "  " << title << std::string(18 - std::string_view(title).size(), ' ') << printable(value) << '\n';
  };
  const auto number = [](std::uint64_t value) { return std::to_string(value); };
  line("frequency", run.frequency.empty() ? "-" : run.frequency + " ticks per second");
  line("hardware threads", run.concurrency.empty() ? "-" : run.concurrency);
  line("duration", describe_time(run));
  line("records", number(run.record_count) + " merged, of them " + number(run.ignored_record_count) +
                      " of unknown domains");
  line("threads", number(run.threads));
  line("domains", number(run.domains.size()));
  line("graphs", number(model.graphs));
  line("nodes", number(model.nodes) + ", of them " + number(model.composite_nodes) + " composite");
  line("ports", number(model.ports));
  line("edges", number(model.edges_made) + " made, " + number(model.edges) + " at the end");
  line("parallel regions", number(model.parallel_regions) + ", implicit tasks " +
                               number(model.implicit_tasks) + ", explicit tasks " +
                               number(model.explicit_tasks));
  line("tasks", number(begun) + " begun, " + number(ended) + " ended");
}

void write_domains(const run_summary& run, std::ostream& out) {
  if (run.domains.empty()) return;
  text_table table({{"domain", left}, {"records"}, {"looked at", left}});
  std::size_t count = 0;
  for (const auto& [handle, domain] : run.domains) {
    if (count++ == most_domains) break;
    const std::string name = domain.is_named ? domain.name : "without name, handle " + std::to_string(handle);
    table.add_row(
        {name, std::to_string(domain.record_count), domain.type == DomainType::unknown ? "no" : "yes"});
  }
  out << '\n';
  table.print(out);
  if (run.domains.size() > most_domains) {
    out << "  and " << run.domains.size() - most_domains << " more, which --json lists\n";
  }
}

void write_tasks(const run_summary& run, std::ostream& out) {
  if (run.tasks.empty()) return;
  text_table table({{"tasks of thread", left}, {"begun"}, {"ended"}, {"without end"}, {"without begin"}});
  for (const auto& [producer, tasks] : run.tasks) {
    table.add_row({std::to_string(producer), std::to_string(tasks.begun), std::to_string(tasks.ended),
                   std::to_string(tasks.unmatched_begins), std::to_string(tasks.unmatched_ends)});
  }
  out << '\n';
  table.print(out);
}

void write_warnings(const run_summary& run, std::ostream& out) {
  if (run.warnings.empty()) return;
  text_table table({{"times"}, {"warning of the converter", left}});
  for (const auto& [message, count] : run.warnings) table.add_row({std::to_string(count), message});
  out << '\n';
  table.print(out);
}

}  // namespace

void write_text(const run_summary& run, std::ostream& out) {
  const std::size_t problems = run.problems.size();
  out << printable(run.stem) << ": "
      << (run.is_sound() ? "sound" : std::to_string(problems) + (problems == 1 ? " problem" : " problems"))
      << '\n';
  for (const std::string& problem : run.problems) out << "  " << printable(problem) << '\n';
  if (run.files.empty()) return;
  write_files(run, out);
  write_kinds(run, out);
  write_run(run, out);
  write_domains(run, out);
  write_tasks(run, out);
  write_warnings(run, out);
}
