#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// How a program ended and what it said.
struct program_result {
  int exit_status = -1;  ///< -1 when a signal ended it
  int signal = 0;        ///< 0 when it exited
  std::string out;
  std::string err;
};

/// Runs the converter with `arguments` (without the program's name) in `directory` and waits for it. The
/// environment is this process's, without QZD_DIR, changed by the "NAME=value" texts of `environment`.
program_result run_kzr2xml(const std::vector<std::string>& arguments, const std::filesystem::path& directory,
                           const std::vector<std::string>& environment = {});

/// The same for any program; `command` begins with the program's path.
program_result run_program(const std::vector<std::string>& command, const std::filesystem::path& directory,
                           const std::vector<std::string>& environment = {});
