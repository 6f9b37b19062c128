#pragma once

#include <cstdint>

class output_watch;
struct run_report;

/// A run on its way into a format.
struct exported_run {
  const run_report& report;
  std::uint64_t part_rows;  ///< rows of executions in a part; 0 for all in one
  output_watch& watch;      ///< hears warnings, and what is written past a `file_sink`
};
