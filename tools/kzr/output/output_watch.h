#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kzr/common/progress_bar.h"

/// Thrown where a signal asks the program to end while an output is half written.
struct interruption {
  int signal;
};

/// What goes on while an output is written: shows on a terminal how much there is, collects warnings, and
/// lets signals that end the program wait until what is half written is removed.
class output_watch {
 public:
  output_watch() { progress_.tell("writing"); }
  output_watch(const output_watch&) = delete;
  output_watch& operator=(const output_watch&) = delete;

  /// Notes that `bytes` more were written. Throws `interruption`.
  void advance(std::uint64_t bytes);

  /// A sentence for the user, told when the output is written.
  void warn(std::string warning) { warnings_.push_back(std::move(warning)); }
  [[nodiscard]] const std::vector<std::string>& warnings() const { return warnings_; }

 private:
  progress_bar progress_{0};
  std::vector<std::string> warnings_;
};

/// While it lives, SIGINT, SIGQUIT, SIGTERM and SIGHUP make the next `output_watch::advance()` throw instead
/// of ending the process; those that are ignored stay so. There is one at a time.
class delayed_signals {
 public:
  delayed_signals();
  delayed_signals(const delayed_signals&) = delete;
  delayed_signals& operator=(const delayed_signals&) = delete;
  ~delayed_signals();
};
