#pragma once

#include <string>

#include "driver/command_line.h"

class trace_record;

/// Is told of a conversion while it goes on, for those who show it.
class conversion_watcher {
 public:
  virtual ~conversion_watcher() = default;
  /// A step begins, such as "reading the records".
  virtual void on_step(const char* step) = 0;
  /// A record is about to be processed. Its text stays valid until the end of the run.
  virtual void on_record(const trace_record& record) = 0;
  /// An output is finished; `is_whole` is false when some of it could not be written.
  virtual void on_output(const std::string& path, bool is_whole) = 0;
};

/// Lets the process open as many files as the system permits, since a run may have a trace file for each of
/// thousands of threads.
void raise_open_file_limit();

/// Makes a file that may not grow any further, or a pipe without a reader, a failed output like any other
/// instead of the end of the run.
void ignore_output_signals();

/// Converts one run: reads its trace files, rebuilds its graphs and writes the outputs to the working
/// directory. Outputs that cannot be written are told to the watcher alone. Aborts on an XML file that is no
/// trace and on wide string handles; throws the exception of the standard conversion where a number of the
/// input is none.
void convert(const run_settings& settings, conversion_watcher* watcher = nullptr);
