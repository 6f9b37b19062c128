#pragma once

#include <string>

/// What one run of the program is asked to do.
struct run_settings {
  std::string trace_stem;            ///< path of the trace files without point and number
  std::string run_name = "unknown";  ///< base name of the outputs
  int omp_experimental = 0;          ///< non-zero turns the OpenMP sub-graph paths on
};

/// Reads the arguments of the program: a name and "--omp_experimental" in either order, or a results
/// directory, a name and a number. Any other arguments are ignored, silently. Throws the exception of the
/// standard conversion when the number is none.
[[nodiscard]] run_settings read_command_line(int argc, const char* const* argv);

/// The trace stem of a results directory.
[[nodiscard]] std::string trace_stem_in(const std::string& directory);

/// The trace stem when no directory is given: below the directory that QZD_DIR names, else below the results
/// directory in the working directory with the greatest name, else in the working directory itself. Opens no
/// trace file.
[[nodiscard]] std::string default_base_name();
