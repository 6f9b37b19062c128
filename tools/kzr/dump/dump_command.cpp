#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>

#include "driver/conversion.h"
#include "kzr/common/exit_status.h"
#include "kzr/common/printable.h"
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

int complain(const std::string& message) {
  std::fprintf(stderr, "kzrdump: %s\n", printable(message).c_str());
  return exit_damage;
}

}  // namespace

int main(int argc, char** argv) {
  // Whoever reads the output may stop at any time.
  std::signal(SIGPIPE, SIG_DFL);
  std::ios::sync_with_stdio(false);
  raise_open_file_limit();
  try {
    const parsed_command_line command_line = parse_command_line(argc, argv);
    if (!command_line.options) return command_line.exit_status;
    const dump_options& options = *command_line.options;
    const std::string special_file = list_files(options.stem).special_file;
    if (!special_file.empty()) return complain(special_file + " is a pipe or device, which is not read");
    const bool is_sound = show(options);
    if (!std::cout.flush()) return complain("the output could not be written");
    return is_sound ? exit_sound : exit_damage;
  } catch (const std::exception& failure) {
    return complain(failure.what());
  }
}
