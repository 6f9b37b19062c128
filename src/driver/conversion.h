#pragma once

#include "driver/command_line.h"

/// Lets the process open as many files as the system permits, since a run may have a trace file for each of
/// thousands of threads.
void raise_open_file_limit();

/// Makes a file that may not grow any further, or a pipe without a reader, a failed output like any other
/// instead of the end of the run.
void ignore_output_signals();

/// Converts one run: reads its trace files, rebuilds its graphs and writes the outputs to the working
/// directory. Outputs that cannot be written are not reported. Aborts on an XML file that is no trace and on
/// wide string handles; throws the exception of the standard conversion where a number of the input is none.
void convert(const run_settings& settings);
