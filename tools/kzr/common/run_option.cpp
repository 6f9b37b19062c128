#include "kzr/common/run_option.h"

#include <CLI/CLI.hpp>
#include <filesystem>

#include "driver/command_line.h"

namespace fs = std::filesystem;

void add_run_option(CLI::App& command, std::string& run) {
  command
      .add_option("RUN", run,
                  "Path of the trace files without point and number, as run/_kzr, or their directory")
      ->type_name("");
}

std::string find_trace_stem(const std::string& run) {
  if (run.empty()) return default_base_name();
  std::error_code ignored;
  const bool names_files = fs::exists(run + ".0", ignored);
  return !names_files && fs::is_directory(run, ignored) ? trace_stem_in(run) : run;
}
