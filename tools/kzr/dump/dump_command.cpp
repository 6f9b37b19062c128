#include "kzr/dump/dump_command.h"

#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "kzr/common/complaint.h"
#include "kzr/common/exit_status.h"
#include "kzr/dump/dump_options.h"
#include "kzr/dump/file_survey.h"
#include "kzr/dump/record_listing.h"
#include "kzr/dump/run_summary.h"
#include "kzr/dump/summary_json.h"
#include "kzr/dump/summary_text.h"

namespace {

/// True for a run without anything to complain of.
bool show(const dump_options& options) {
  if (options.list_records) return list_records(options);
  const run_summary run = summarise_run(options.stem, options.omp_experimental);
  if (options.as_json) {
    write_json(run, std::cout);
  } else {
    write_text(run, std::cout);
  }
  return run.is_sound();
}

int dump(const dump_options& options) {
  // Whatever goes wrong from here on is due to the run.
  try {
    const std::string special_file = list_files(options.stem).special_file;
    if (special_file.empty()) return show(options) ? exit_success : exit_findings;
    complain(special_file + " is a pipe or device, which is not read");
  } catch (const std::exception& failure) {
    complain(failure.what());
  }
  return exit_findings;
}

}  // namespace

subcommand_action set_up_dump(CLI::App& command) {
  const auto options = std::make_shared<dump_options>();
  add_dump_options(command, *options);
  return [options] { return dump(*options); };
}
