#include "kzr/dump/summary_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <ostream>

#include "kzr/common/printable.h"
#include "kzr/common/text_table.h"
#include "kzr/dump/problems.h"
#include "kzr/dump/run_summary.h"
#include "reader/record_descriptions.h"

namespace {

constexpr auto left = text_table::align::left;
constexpr auto right = text_table::align::right;
/// A run with more files than this is told file by file in the list of files alone, to stay readable.
constexpr std::size_t most_files_in_detail = 40;
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

/// The name with a line for each of its words, which keeps the columns narrow.
std::string title_of(std::size_t kind) {
  std::string title;
  for (const char c : std::string_view(record_descriptions[kind].name)) {
    title += c;
    if (c == '_') title += '\n';
  }
  return title;
}

/// One column for each kind that occurs.
void write_kinds(const run_summary& run, std::ostream& out) {
  const kind_counts totals = count_kinds(run);
  std::vector<text_table::column> columns = {{"records\nby kind", left}};
  for (std::size_t kind = 0; kind < totals.size(); ++kind) {
    if (totals[kind] > 0) columns.push_back({title_of(kind), right});
  }
  if (columns.size() == 1) return;
  text_table table(std::move(columns));
  const auto add_row = [&table, &totals](const std::string& title, const kind_counts& counts) {
    std::vector<std::string> cells = {title};
    for (std::size_t kind = 0; kind < totals.size(); ++kind) {
      if (totals[kind] > 0) cells.push_back(std::to_string(counts[kind]));
    }
    table.add_row(cells);
  };
  const bool is_detailed = run.files.size() <= most_files_in_detail;
  if (is_detailed) {
    for (const file_survey& file : run.files) add_row(name_of_file(file), file.records_by_kind);
  }
  if (run.files.size() > 1) add_row("all", totals);
  out << '\n';
  table.print(out);
  if (!is_detailed) out << "  --json has them file by file\n";
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
  line("texts", number(run.texts_with_markup) + " with < & \" or control characters, of them " +
                    number(run.texts_with_line_break) + " with a line break");
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
  text_table table({{"tasks of thread", left}, {"begun"}, {"ended"}, {"without end"}, {"without begin"}});
  const bool is_detailed = run.tasks.size() <= most_files_in_detail;
  for (const auto& [producer, tasks] : run.tasks) {
    if (!is_detailed && tasks.unmatched_begins + tasks.unmatched_ends == 0) continue;
    table.add_row({std::to_string(producer), std::to_string(tasks.begun), std::to_string(tasks.ended),
                   std::to_string(tasks.unmatched_begins), std::to_string(tasks.unmatched_ends)});
  }
  if (table.is_empty()) return;
  out << '\n';
  table.print(out);
}

void write_counts(const char* title, const warning_tally::tally& counts, std::ostream& out) {
  if (counts.empty()) return;
  text_table table({{"times"}, {title, left}});
  for (const auto& [message, count] : counts) table.add_row({std::to_string(count), message});
  out << '\n';
  table.print(out);
}

}  // namespace

void write_verdict(const run_summary& run, std::size_t most, std::ostream& out) {
  const std::size_t problems = run.problems.size();
  out << printable(run.stem) << ": "
      << (run.is_sound() ? "sound" : std::to_string(problems) + (problems == 1 ? " problem" : " problems"))
      << '\n';
  for (std::size_t i = 0; i < std::min(problems, most); ++i) {
    out << "  " << printable(run.problems[i]) << '\n';
  }
  if (problems > most) out << "  and " << problems - most << " more, which kzr dump lists\n";
}

void write_text(const run_summary& run, std::ostream& out) {
  write_verdict(run, run.problems.size(), out);
  if (run.files.empty()) return;
  write_files(run, out);
  write_kinds(run, out);
  write_run(run, out);
  write_domains(run, out);
  write_tasks(run, out);
  write_counts("warning of the converter", run.warnings, out);
  write_counts("ordinary, no warning", run.notes, out);
}
