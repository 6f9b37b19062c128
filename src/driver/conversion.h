#pragma once

#include "driver/command_line.h"

/// Lets the process open as many files as the system permits, since a run may have a trace file for each of
/// thousands of threads.
void raise_open_file_limit();

/// Makes a file that may not grow any further, or a pipe without a reader, a failed output like any other
/// instead of the end of the run.
void ignore_output_signals();

/// Converts one run: reads its trace files, rebuilds its graphs and writes the outputs.
void convert(const run_settings& settings);
