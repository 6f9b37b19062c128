#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Which records are listed. Everything is let through unless something is named.
struct record_filter {
  std::array<bool, 18> kinds{};  ///< by kind; none set lets all through
  std::vector<int> producers;    ///< numbers of trace files; none lets all through
  std::uint64_t from = 0;        ///< first and last timestamp, in ticks, both inclusive
  std::uint64_t to = UINT64_MAX;
};

/// What one run of the program is asked to do.
struct dump_options {
  std::string stem;  ///< path of the trace files without point and number
  bool omp_experimental = false;
  bool as_json = false;
  bool list_records = false;
  record_filter filter;
};

/// What reading the arguments came to: options, or the exit status when there is nothing (more) to do.
struct parsed_command_line {
  std::optional<dump_options> options;
  int exit_status = 0;
};

/// Reads the arguments. Answers --help and --version itself, and tells on standard error what is wrong with
/// the others.
[[nodiscard]] parsed_command_line parse_command_line(int argc, const char* const* argv);
