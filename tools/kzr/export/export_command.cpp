#include "kzr/export/export_command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kzr/common/complaint.h"
#include "kzr/common/exit_status.h"
#include "kzr/common/number_option.h"
#include "kzr/common/run_option.h"
#include "kzr/common/similar_word.h"
#include "kzr/export/byte_sink.h"
#include "kzr/export/export_format.h"
#include "kzr/export/export_watch.h"
#include "kzr/export/exported_run.h"
#include "kzr/export/staged_output.h"
#include "kzr/report/run_report.h"

namespace fs = std::filesystem;

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

/// A pipe or device, which takes the bytes as they come.
bool is_special(const std::string& path) {
  std::error_code ignored;
  const fs::file_status found = fs::status(path, ignored);
  return fs::exists(found) && !fs::is_regular_file(found) && !fs::is_directory(found);
}

bool is_trace_file(const std::string& path, const std::string& stem, std::uint64_t count) {
  std::error_code ignored;
  for (std::uint64_t n = 0; n < count; ++n) {
    if (fs::equivalent(path, stem + '.' + std::to_string(n), ignored)) return true;
  }
  return false;
}

/// Why the output cannot be written, as far as that can be told before the run is read.
std::string explain_unusable(const export_options& options, const file_inventory& files) {
  if (options.is_to_standard_output()) return {};
  if (is_special(options.path)) return options.format->write_path == nullptr ? "" : "it is no file";
  if (is_trace_file(options.path, options.settings.stem, files.count)) return "it is a trace file of the run";
  return explain_unusable_place(options.path, options.existing());
}

/// Writes a format that is one stream.
void write_stream(const export_options& options, const exported_run& run, byte_sink& out) {
  if (options.format->is_compressed_by_name && options.path.ends_with(".gz")) {
    gzip_sink compressed(out);
    options.format->write_stream(run, compressed);
    return compressed.close();
  }
  options.format->write_stream(run, out);
  out.close();
}

void write_to_standard_output(const export_options& options, const exported_run& run) {
  const int copy = dup(STDOUT_FILENO);
  if (copy < 0) throw system_error_as_output_error(errno);
  file_sink out(copy, run.watch);
  write_stream(options, run, out);
}

void write(const export_options& options, const exported_run& run) {
  if (options.is_to_standard_output()) return write_to_standard_output(options, run);
  if (is_special(options.path)) {
    file_sink out(options.path, run.watch);
    return write_stream(options, run, out);
  }
  staged_output output(options.path, options.existing());
  if (options.format->write_path != nullptr) {
    options.format->write_path(run, output.path());
  } else {
    file_sink out(output.path(), run.watch);
    write_stream(options, run, out);
  }
  output.move_to_place();
}

/// Writes the run and returns the warnings.
std::vector<std::string> write_watched(const export_options& options, const run_report& report) {
  export_watch watch;
  write(options, {.report = report, .part_rows = options.part_rows, .watch = watch});
  return watch.warnings();
}

int complain_of_output(const std::string& path, const std::string& reason) {
  complain((path == "-" ? "the output" : path) + " could not be written: " + reason);
  return exit_failure;
}

int export_run(export_options options) {
  const std::string& stem = options.settings.stem;
  const file_inventory files = list_files(stem);
  if (!files.special_file.empty()) {
    complain(files.special_file + " is a pipe or device, which is not read");
    return exit_failure;
  }
  if (options.path.empty()) options.path = name_of_run(stem) + '.' + options.format->suffix;
  const std::string reason = explain_unusable(options, files);
  if (!reason.empty()) return complain_of_output(options.path, reason);
  const run_report report = make_report(options.settings);
  if (report.summary().is_missing()) {
    complain(explain_missing_run(stem));
    return exit_failure;
  }
  try {
    for (const std::string& warning : write_watched(options, report)) complain("warning: " + warning);
  } catch (const output_error& failure) {
    return complain_of_output(options.path, failure.what());
  } catch (const interruption& end) {
    // By now the signal has its own effect again.
    std::raise(end.signal);
    return exit_failure;
  }
  return exit_success;
}

const export_format* find_format(const std::string& name) {
  const export_format* const format = find_export_format(name);
  if (format != nullptr) return format;
  throw CLI::ValidationError("--to",
                             "there is no format \"" + name + '"' + suggest(name, names_of_formats()));
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
  command.add_flag("!--no-omp", settings.looks_into_openmp, "Do not look into OpenMP regions");
  command.final_callback([options] {
    options->format = find_format(options->format_name);
    options->settings.keeps_begin_order = options->format->needs_begin_order;
    check(*options);
    options->settings.stem = find_trace_stem(options->settings.stem);
  });
  return [options] {
    // A file that may not grow is an error with a reason, not the end of the process.
    std::signal(SIGXFSZ, SIG_IGN);
    return export_run(*options);
  };
}
