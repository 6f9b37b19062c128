#include "kzr/record/record_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kzr/common/complaint.h"
#include "kzr/common/run_option.h"
#include "kzr/common/similar_word.h"
#include "kzr/output/run_output.h"
#include "kzr/record/child_process.h"
#include "kzr/record/openmp_runtime.h"
#include "kzr/record/recorded_runs.h"
#include "kzr/report/page_file.h"
#include "kzr/report/run_report.h"

namespace fs = std::filesystem;

namespace {

// What tells an error of this command from the status of the program.
constexpr int exit_no_start = 125;
constexpr int exit_not_executable = 126;
constexpr int exit_not_found = 127;

constexpr const char* description =
    "kzr record [-o DIRECTORY] [--report] PROGRAM [ARGUMENT...]\n"
    "Runs PROGRAM and records its OpenMP regions and tasks. The program has this command's standard "
    "streams,\n"
    "signals and exit status. Options behind PROGRAM are the program's own.";

constexpr const char* footer =
    "Each process that uses OpenMP has a directory of its own: the first one DIRECTORY, the others the same\n"
    "with .2, .3 and so on behind it. For programs that were built with GCC, LLVM's OpenMP runtime is "
    "loaded\n"
    "in front of GCC's.\n"
    "\n"
    "Exit status: that of the program, 125 when nothing can be recorded, 126 when the program cannot be\n"
    "started, 127 when there is none.";

using environment_changes = std::vector<std::pair<std::string, std::string>>;

std::string get_environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

/// The variables that make the program's OpenMP runtime record.
environment_changes make_environment(const std::string& program, const fs::path& directory) {
  environment_changes changes;
  const std::string tools = get_environment("OMP_TOOL_LIBRARIES");
  changes.emplace_back("OMP_TOOL_LIBRARIES",
                       find_recording_library().string() + (tools.empty() ? "" : ":" + tools));
  changes.emplace_back("KZR_RECORD_DIRECTORY", fs::absolute(directory).string());
  if (asks_for_llvm_runtime(program)) return changes;
  // A script or a program that loads libraries later does not show which runtime there will be.
  if (const std::optional<fs::path> runtime = find_llvm_runtime()) {
    const std::string preloaded = get_environment("LD_PRELOAD");
    changes.emplace_back("LD_PRELOAD", (preloaded.empty() ? "" : preloaded + ":") + runtime->string());
  }
  return changes;
}

std::string describe_size(std::uintmax_t bytes) {
  constexpr std::array units = {"bytes", "KB", "MB", "GB", "TB"};
  auto size = static_cast<double>(bytes);
  std::size_t unit = 0;
  for (; size >= 1000 && unit + 1 < units.size(); ++unit) size /= 1000;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", size, units[unit]);
  return text.data();
}

/// `path` as a word for the shell that is no option.
std::string as_shell_word(const fs::path& path) {
  std::string text = path.string();
  if (text.starts_with('-')) text.insert(0, "./");
  const bool is_plain = std::all_of(text.begin(), text.end(), [](char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 ||
           std::string_view("_-./+,:@%").find(character) != std::string_view::npos;
  });
  if (is_plain) return text;
  std::string quoted = "'";
  for (const char character : text)
    quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
  return quoted + '\'';
}

void tell(const std::vector<recorded_process>& runs) {
  for (const recorded_process& run : runs) {
    complain("recorded " + std::to_string(run.threads) + (run.threads == 1 ? " thread, " : " threads, ") +
             describe_size(run.size_bytes) + ", in " + run.directory.string() +
             (run.replaced_runtime ? " (LLVM's OpenMP runtime in front of GCC's)" : ""));
  }
}

/// Writes the page of each recording. What goes wrong is told; the status is the program's all the same.
void write_pages(const std::vector<recorded_process>& runs) {
  for (const recorded_process& run : runs) {
    try {
      report_settings settings;
      settings.stem = find_trace_stem(run.directory.string());
      const std::string path = default_page_path(settings.stem);
      if (write_page_file(make_report(settings), run_output(path), default_page_mebibytes)) {
        complain("the report of " + run.directory.string() + " is " + path);
      }
    } catch (const std::exception& failure) {
      complain(failure.what());
    }
  }
}

std::string why_nothing(bool has_llvm_runtime) {
  if (get_environment("OMP_TOOL") == "disabled") return "OMP_TOOL is set to \"disabled\"";
  if (!has_llvm_runtime) {
    return "LLVM's OpenMP runtime, which can be recorded, is not installed (Debian: libomp5-14)";
  }
  return "the program made no OpenMP region or task, or has a runtime that cannot be recorded";
}

struct record_options {
  std::string directory;
  bool writes_pages = false;
};

int record(const std::vector<std::string>& command, const record_options& options) {
  std::optional<recorded_runs> runs;
  child_end end;
  try {
    runs.emplace(options.directory);
    end = run_child(command, make_environment(command.front(), runs->directory()));
  } catch (const std::exception& failure) {
    complain(failure.what());
    if (runs) static_cast<void>(runs->collect());
    return exit_no_start;
  }
  const std::vector<recorded_process> recorded = runs->collect();
  if (end.start_error != 0) {
    complain(command.front() + ": " + std::generic_category().message(end.start_error));
    return end.start_error == ENOENT ? exit_not_found : exit_not_executable;
  }
  if (recorded.empty()) {
    complain("nothing was recorded: " + why_nothing(find_llvm_runtime().has_value()));
  } else {
    tell(recorded);
    if (options.writes_pages) {
      write_pages(recorded);
    } else {
      complain("look at it with \"kzr report " + as_shell_word(recorded.front().directory) + '"');
    }
  }
  if (end.signal != 0) end_by_signal(end.signal);
  return end.signal != 0 ? 128 + end.signal : end.exit_status;
}

/// What stands behind the options: the program and its arguments.
std::vector<std::string> read_command(const CLI::App& command) {
  std::vector<std::string> words = command.remaining();
  if (!words.empty() && words.front().starts_with('-')) {
    throw CLI::ValidationError(describe_unknown_option(words.front(), command), CLI::ExitCodes::ExtrasError);
  }
  // The parser leaves what follows "--" to the command line around the subcommand.
  if (words.empty()) words = command.get_parent()->remaining();
  if (words.empty()) throw CLI::RequiredError("PROGRAM");
  return words;
}

}  // namespace

subcommand_action set_up_record(CLI::App& command) {
  const auto options = std::make_shared<record_options>();
  command.description(description);
  command.footer(footer);
  // What follows the first word that is no option is the program's.
  command.prefix_command();
  command.preparse_callback([&command](std::size_t) {
    CLI::App& program = *command.get_parent();
    if (program.remaining_size() > 0) throw CLI::ExtrasError(program.remaining());
    program.prefix_command();
  });
  command
      .add_option("-o,--output", options->directory,
                  "Record into this directory instead of _qzd_<date>_<time>")
      ->type_name("DIRECTORY");
  command.add_flag("--report", options->writes_pages,
                   "Write a page of each recording, as \"kzr report\" does");
  return [&command, options] { return record(read_command(command), *options); };
}
