#include "kzr/export/export_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "kzr/common/complaint.h"
#include "kzr/common/exit_status.h"
#include "kzr/common/number_option.h"
#include "kzr/common/run_option.h"
#include "kzr/common/similar_word.h"
#include "kzr/export/export_format.h"
#include "kzr/export/exported_run.h"
#include "kzr/output/run_output.h"
#include "kzr/report/run_report.h"

namespace {

constexpr const char* description = "Writes a recorded run as one of the forms that other tools open.";

constexpr const char* exit_status_help =
    "\n"
    "Exit status: 0, also for a damaged run, 2 for wrong usage, without any trace file, or when the output\n"
    "cannot be written; then nothing of it is left.";

constexpr std::size_t reader_column = 14;

struct export_options {
  report_settings settings;
  std::string format_name;
  const export_format* format = nullptr;
  std::string path;
  std::uint64_t part_rows = 0;

  [[nodiscard]] bool is_to_standard_output() const { return path == "-"; }
  [[nodiscard]] existing_output existing() const {
    return format->is_folder ? existing_output::refused : existing_output::replaced;
  }
};

std::vector<std::string> names_of_formats() {
  std::vector<std::string> names;
  for (const export_format& format : export_formats()) names.emplace_back(format.name);
  return names;
}

std::string list_formats() {
  std::string list = "Formats, and what opens them:\n";
  for (const export_format& format : export_formats()) {
    std::string name = format.name;
    name.resize(std::max(reader_column, name.size() + 1), ' ');
    list += "  " + name + format.readers + '\n';
  }
  return list + '\n';
}

/// Writes a format that is one stream, compressed where its name asks for that.
void write_stream(const export_options& options, const exported_run& run, byte_sink& out) {
  if (!options.format->is_compressed_by_name || !options.path.ends_with(".gz")) {
    return options.format->write_stream(run, out);
  }
  gzip_sink compressed(out);
  options.format->write_stream(run, compressed);
  compressed.close();
}

void write(const export_options& options, const run_output& output, const exported_run& run) {
  if (options.format->write_path != nullptr) {
    output.write_path([&](const std::string& path) { options.format->write_path(run, path); });
  } else {
    output.write_stream(run.watch, [&](byte_sink& out) { write_stream(options, run, out); });
  }
}

/// What is wrong with the run, in a line.
void warn_of_problems(const run_summary& run) {
  if (run.is_sound()) return;
  const std::size_t others = run.problems.size() - 1;
  complain("warning: " + run.stem + " is not sound: " + run.problems.front() +
           (others == 0 ? "" : "; \"kzr dump\" tells " + std::to_string(others) + " more"));
}

int export_run(export_options options) {
  const std::string& stem = options.settings.stem;
  const file_inventory files = list_files(stem);
  if (!files.special_file.empty()) {
    complain(files.special_file + " is a pipe or device, which is not read");
    return exit_failure;
  }
  if (options.path.empty()) options.path = name_of_run(stem) + '.' + options.format->suffix;
  const run_output output(options.path, options.existing());
  const std::string reason = output.explain_unusable(options.format->write_path == nullptr, stem, files);
  if (!reason.empty()) {
    output.tell_failure(reason);
    return exit_failure;
  }
  const run_report report = make_report(options.settings);
  if (report.summary().is_missing()) {
    complain(explain_missing_run(stem));
    return exit_failure;
  }
  std::vector<std::string> warnings;
  const bool is_written = output.tell_failure_of([&] {
    output_watch watch;
    write(options, output, {.report = report, .part_rows = options.part_rows, .watch = watch});
    warnings = watch.warnings();
  });
  if (!is_written) return exit_failure;
  warn_of_problems(report.summary());
  for (const std::string& warning : warnings) complain("warning: " + warning);
  return exit_success;
}

const export_format* find_format(const std::string& name) {
  const export_format* const format = find_export_format(name);
  if (format != nullptr) return format;
  std::string answer = suggest(name, names_of_formats());
  if (answer.empty()) {
    for (const std::string& known : names_of_formats()) answer += (answer.empty() ? ", only " : ", ") + known;
  }
  throw CLI::ValidationError("--to", "there is no format \"" + name + '"' + answer);
}

void check(const export_options& options) {
  if (options.part_rows > 0 && !options.format->is_folder) {
    throw CLI::ValidationError("--part-rows", "is for formats that are a folder");
  }
  if (options.is_to_standard_output() && options.format->write_path != nullptr) {
    throw CLI::ValidationError("-o", options.format_name + " is no stream that standard output could take");
  }
}

}  // namespace

subcommand_action set_up_export(CLI::App& command) {
  const auto options = std::make_shared<export_options>();
  report_settings& settings = options->settings;
  command.description(description);
  command.footer(list_formats() + default_run_help + exit_status_help);
  add_run_option(command, settings.stem);
  command.add_option("--to", options->format_name, "The format, one of those below")
      ->type_name("FORMAT")
      ->required();
  command
      .add_option(
          "-o,--output", options->path,
          "File or folder to write, - for standard output; else it has the name of the run's directory")
      ->type_name("PATH")
      ->check([](const std::string& path) { return std::string(path.empty() ? "a path is not empty" : ""); });
  command.add_option("--part-rows", options->part_rows, "csv: at most so many executions in a file")
      ->type_name("N")
      ->transform(number_of<std::uint64_t>());
  command.add_flag_callback(
      "--no-omp", [options] { options->settings.looks_into_openmp = false; },
      "Do not look into OpenMP regions");
  command.final_callback([options] {
    options->format = find_format(options->format_name);
    options->settings.keeps_begin_order = options->format->needs_begin_order;
    check(*options);
    options->settings.stem = find_trace_stem(options->settings.stem);
  });
  return [options] { return export_run(*options); };
}
