#include "kzr/common/run_option.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "driver/command_line.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* what_a_run_is =
    "a run is a directory with the files _kzr.0, _kzr.1, ..., or the path of such files without point and "
    "number";

constexpr std::string_view results_prefix = "_qzd_";
constexpr std::string_view file_prefix = "_kzr.";

/// Whether there is any trace file in the directory.
bool holds_trace_files(const fs::path& directory) {
  std::error_code failure;
  for (fs::directory_iterator entry(directory, failure); !failure && entry != fs::directory_iterator();
       entry.increment(failure)) {
    if (entry->path().filename().string().starts_with(file_prefix)) return true;
  }
  return false;
}

/// The trace stem when no run is given. Pages and exports have the name of their run with more behind it,
/// stand beside it and would count as later runs for the converter, which looks at names alone.
std::string find_default_stem() {
  const std::string stem = default_base_name();
  if (std::getenv("QZD_DIR") != nullptr || holds_trace_files(fs::path(stem).parent_path())) return stem;
  std::string latest;
  std::error_code failure;
  for (fs::directory_iterator entry(".", failure); !failure && entry != fs::directory_iterator();
       entry.increment(failure)) {
    const std::string name = entry->path().filename().string();
    if (name.starts_with(results_prefix) && name > latest && holds_trace_files(name)) latest = name;
  }
  return latest.empty() ? fs::path(stem).filename().string() : trace_stem_in(latest);
}

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
  if (run.empty()) return find_default_stem();
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
