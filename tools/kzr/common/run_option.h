#pragma once

#include <string>

namespace CLI {
class App;
}

/// For the help of a subcommand with the argument RUN: which run it works on without it.
constexpr const char* default_run_help =
    "Without RUN the trace files are those of the directory that QZD_DIR names, else of the directory "
    "_qzd_*\n"
    "here that has trace files and the greatest name, else those here.\n";

/// Gives `command` the argument RUN, which `run` takes as it stands on the command line.
void add_run_option(CLI::App& command, std::string& run);

/// The path without point and number of the trace files that are meant by `run`: a directory stands for those
/// in it, no text at all for those that the converter would read, of directories with trace files only.
[[nodiscard]] std::string find_trace_stem(const std::string& run);

/// For a stem without a first trace file: why that is none, and what to do.
[[nodiscard]] std::string explain_missing_run(const std::string& stem);
