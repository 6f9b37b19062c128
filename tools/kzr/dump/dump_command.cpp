#include "kzr/dump/dump_command.h"

#include <CLI/CLI.hpp>
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

/// Throws when a file is asked for that a run with so many files does not have.
void check_producers(const dump_options& options, std::uint64_t files) {
  for (const int producer : options.filter.producers) {
    if (files == 0 || static_cast<std::uint64_t>(producer) < files) continue;
    throw CLI::ValidationError("--producer", "there is no trace file " + options.stem + '.' +
                                                 std::to_string(producer) + "; the numbers go from 0 to " +
                                                 std::to_string(files - 1));
  }
}

int dump(const dump_options& options) {
  const file_inventory files = list_files(options.stem);
  check_producers(options, files.count);
  // Whatever goes wrong from here on is due to the run.
  try {
    if (files.special_file.empty()) return show(options) ? exit_success : exit_findings;
    complain(files.special_file + " is a pipe or device, which is not read");
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
