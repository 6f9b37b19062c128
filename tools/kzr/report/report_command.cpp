#include "kzr/report/report_command.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include "kzr/common/complaint.h"
#include "kzr/common/exit_status.h"
#include "kzr/common/number_option.h"
#include "kzr/common/printable.h"
#include "kzr/common/run_option.h"
#include "kzr/dump/summary_text.h"
#include "kzr/output/run_output.h"
#include "kzr/report/desktop_browser.h"
#include "kzr/report/page_file.h"
#include "kzr/report/report_json.h"
#include "kzr/report/report_text.h"
#include "kzr/report/run_report.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* description =
    "Tells where the time of a recorded run went: how well its threads were used, what each node took, and\n"
    "one observed chain of executions from begin to end. Writes one HTML page with graph, timeline and\n"
    "figures, for a browser and without a network, or the figures alone with --text or --json.";

constexpr const char* exit_status_help =
    "\n"
    "Exit status: 0, also for a damaged run, 2 for wrong usage, without any trace file, or when the output\n"
    "cannot be written.";

struct report_options {
  report_settings settings;
  bool as_text = false;
  bool as_json = false;
  std::string output;
  std::uint64_t max_size_mib = default_page_mebibytes;
  bool opens_page = false;
};

constexpr std::uint64_t most_mebibytes = 1'000'000;
/// Of a run with more problems the rest is only counted.
constexpr std::size_t most_problems = 40;

void tell_page(const run_report& report, const std::string& path, const page_detail& detail) {
  write_verdict(report.summary(), most_problems, std::cout);
  std::error_code failure;
  const std::uintmax_t size = fs::file_size(path, failure);
  std::cout << "\nWritten: " << printable(path);
  // Devices have no size.
  if (!failure) std::cout << ", " << size << " bytes";
  std::cout << '\n';
  if (detail.detailed == detail.executions) return;
  std::cout << "  " << detail.detailed << " of " << detail.executions
            << " executions are in it one by one, the others in sums; --max-size makes room for more\n";
}

int make_page(const report_options& options, const file_inventory& files) {
  const std::string& stem = options.settings.stem;
  const std::string path = options.output.empty() ? default_page_path(stem) : options.output;
  const run_output output(path);
  const std::string reason = output.explain_unusable(true, stem, files);
  if (!reason.empty()) {
    output.tell_failure(reason);
    return exit_failure;
  }
  const run_report report = make_report(options.settings);
  if (report.summary().is_missing()) {
    complain(explain_missing_run(stem));
    return exit_failure;
  }
  const std::optional<page_detail> detail = write_page_file(report, output, options.max_size_mib);
  if (!detail) return exit_failure;
  if (!output.is_standard_output()) tell_page(report, path, *detail);
  if (options.opens_page) {
    const std::string failure = open_on_desktop(path);
    if (!failure.empty()) complain("the page could not be opened, only written: " + failure);
  }
  return exit_success;
}

int tell_figures(const report_options& options) {
  const run_report report = make_report(options.settings);
  if (report.summary().is_missing()) {
    complain(explain_missing_run(options.settings.stem));
    return exit_failure;
  }
  if (options.as_json) {
    write_json(report, std::cout);
  } else {
    write_text(report, std::cout);
  }
  return exit_success;
}

int tell(const report_options& options) {
  const file_inventory files = list_files(options.settings.stem);
  if (!files.special_file.empty()) {
    complain(files.special_file + " is a pipe or device, which is not read");
    return exit_failure;
  }
  return options.as_json || options.as_text ? tell_figures(options) : make_page(options, files);
}

}  // namespace

subcommand_action set_up_report(CLI::App& command) {
  const auto options = std::make_shared<report_options>();
  report_settings& settings = options->settings;
  command.description(description);
  command.footer(std::string(default_run_help) + exit_status_help);
  add_run_option(command, settings.stem);
  CLI::Option* const output =
      command
          .add_option("-o,--output", options->output,
                      "File for the page, named after the run's directory by default; - for standard output")
          ->type_name("FILE")
          ->check([](const std::string& path) {
            return std::string(path.empty() ? "the name of a file is not empty" : "");
          });
  CLI::Option* const max_size =
      command.add_option("--max-size", options->max_size_mib, "Greatest size of the page, in MiB")
          ->type_name("MIB")
          ->capture_default_str()
          ->transform(number_of<std::uint64_t>())
          ->check(CLI::Range(std::uint64_t{1}, most_mebibytes));
  CLI::Option* const open = command.add_flag("--open", options->opens_page, "Open the page in the browser");
  CLI::Option* const text =
      command.add_flag("--text", options->as_text, "Print the figures as tables instead");
  CLI::Option* const json = command.add_flag("--json", options->as_json, "Print them as JSON instead");
  json->excludes(text);
  for (CLI::Option* const of_page : {output, max_size, open}) of_page->excludes(text)->excludes(json);
  command.add_option("--from", settings.range.from, "Only what ran at this time or later")
      ->type_name("TICKS")
      ->transform(number_of<std::uint64_t>());
  command.add_option("--to", settings.range.to, "Only what ran at this time or earlier")
      ->type_name("TICKS")
      ->transform(number_of<std::uint64_t>());
  command.add_flag_callback(
      "--no-omp", [options] { options->settings.looks_into_openmp = false; },
      "Do not look into OpenMP regions");
  command.final_callback([options] {
    report_settings& given = options->settings;
    if (options->opens_page && options->output == "-") {
      throw CLI::ValidationError("--open", "needs a file, not standard output");
    }
    if (given.range.from > given.range.to) {
      throw CLI::ValidationError("--from", std::to_string(given.range.from) + " is later than --to " +
                                               std::to_string(given.range.to));
    }
    given.stem = find_trace_stem(given.stem);
  });
  return [options] { return tell(*options); };
}
