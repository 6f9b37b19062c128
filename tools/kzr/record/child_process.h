#pragma once

#include <string>
#include <utility>
#include <vector>

/// How a program ended, or why it did not begin.
struct child_end {
  int start_error = 0;  ///< number of the system's error; the program did not begin
  int signal = 0;       ///< that ended it, 0 when it exited
  int exit_status = 0;
};

/// Runs `command` (program and arguments) with these changes of the environment and waits for its end. The
/// program has the streams, the process group, the signal settings and limits that this process inherited.
/// Signals that somebody sends to this process meanwhile go on to the program; those of the terminal reach it
/// anyway. Throws std::system_error when there can be no further process.
[[nodiscard]] child_end run_child(const std::vector<std::string>& command,
                                  const std::vector<std::pair<std::string, std::string>>& environment);

/// Ends this process by the signal that ended the program, so that whoever waits sees the same.
void end_by_signal(int signal);
