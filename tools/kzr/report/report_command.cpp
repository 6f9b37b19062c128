#include "kzr/report/report_command.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "kzr/common/complaint.h"
#include "kzr/common/exit_status.h"
#include "kzr/common/number_option.h"
#include "kzr/common/run_option.h"
#include "kzr/report/report_json.h"
#include "kzr/report/report_text.h"
#include "kzr/report/run_report.h"

namespace {

constexpr const char* description =
    "Tells where the time of a recorded run went: how well its threads were used, what each node took, and\n"
    "one observed chain of executions from begin to end. Writes no file.";

constexpr const char* exit_status_help =
    "\n"
    "Exit status: 0, also for a damaged run, 2 for wrong usage, without any trace file, or when the output\n"
    "cannot be written.";

struct report_options {
  report_settings settings;
  bool as_text = false;
  bool as_json = false;
};

int tell(const report_options& options) {
  const std::string& stem = options.settings.stem;
  const std::string special_file = list_files(stem).special_file;
  if (!special_file.empty()) {
    complain(special_file + " is a pipe or device, which is not read");
    return exit_failure;
  }
  const run_report report = make_report(options.settings);
  if (report.summary().is_missing()) {
    complain(explain_missing_run(stem));
    return exit_failure;
  }
  if (options.as_json) {
    write_json(report, std::cout);
  } else {
    write_text(report, std::cout);
  }
  return exit_success;
}

}  // namespace

subcommand_action set_up_report(CLI::App& command) {
  const auto options = std::make_shared<report_options>();
  report_settings& settings = options->settings;
  command.description(description);
  command.footer(std::string(default_run_help) + exit_status_help);
  add_run_option(command, settings.stem);
  CLI::Option* const text = command.add_flag("--text", options->as_text, "Print the figures as tables");
  command.add_flag("--json", options->as_json, "Print them as JSON")->excludes(text);
  command.add_option("--from", settings.range.from, "Only what ran at this time or later")
      ->type_name("TICKS")
      ->transform(number_of<std::uint64_t>());
  command.add_option("--to", settings.range.to, "Only what ran at this time or earlier")
      ->type_name("TICKS")
      ->transform(number_of<std::uint64_t>());
  command.add_flag("!--no-omp", settings.looks_into_openmp, "Do not look into OpenMP regions");
  command.final_callback([options] {
    report_settings& given = options->settings;
    if (!options->as_text && !options->as_json) {
      throw CLI::ValidationError("report", "say --text or --json for the form of the figures");
    }
    if (given.range.from > given.range.to) throw CLI::ValidationError("--from", "is later than --to");
    given.stem = find_trace_stem(given.stem);
  });
  return [options] { return tell(*options); };
}
