#include "kzr/common/run_option.h"

#include <CLI/CLI.hpp>
#include <filesystem>

#include "driver/command_line.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* what_a_run_is =
    "a run is a directory with the files _kzr.0, _kzr.1, ..., or the path of such files without point and "
    "number";

/// Whether the path is that of a numbered file, and which files that would be one of.
bool is_numbered(const std::string& path) {
  const std::string number = fs::path(path).extension().string();
  return number.size() > 1 && number.find_first_not_of("0123456789", 1) == std::string::npos;
}

}  // namespace

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
  if (names_files || !fs::is_directory(run, ignored)) return run;
  return trace_stem_in(run.substr(0, run.find_last_not_of('/') + 1));
}

std::string explain_missing_run(const std::string& stem) {
  std::error_code ignored;
  const fs::path path(stem);
  if (fs::exists(stem, ignored) && is_numbered(stem)) {
    return stem + " is one file of a run; the run is called " + (path.parent_path() / path.stem()).string() +
           ", without point and number";
  }
  if (fs::exists(stem, ignored)) return stem + " is no run; " + what_a_run_is;
  const fs::path directory = path.has_parent_path() ? path.parent_path() : fs::path(".");
  if (path.filename() == fs::path(trace_stem_in("")).filename() && fs::is_directory(directory, ignored)) {
    return "there is no trace file " + stem + ".0; " + what_a_run_is;
  }
  return "there is neither a directory " + stem + " nor a trace file " + stem + ".0; " + what_a_run_is;
}
