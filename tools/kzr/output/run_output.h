#pragma once

#include <functional>
#include <string>
#include <utility>

#include "kzr/output/byte_sink.h"
#include "kzr/output/output_watch.h"
#include "kzr/output/staged_output.h"

struct file_inventory;

/// Where a subcommand writes what it makes of a run: standard output for "-", a pipe or device, which take
/// the bytes as they come, or a file or folder that is there as a whole or not at all.
class run_output {
 public:
  explicit run_output(std::string path, existing_output existing = existing_output::replaced)
      : path_(std::move(path)), existing_(existing) {}

  [[nodiscard]] bool is_standard_output() const { return path_ == "-"; }

  /// Why nothing can be written there, as far as that can be told before the run is read; empty if nothing
  /// speaks against it. `takes_stream` is false for what needs a place of its own.
  [[nodiscard]] std::string explain_unusable(bool takes_stream, const std::string& stem,
                                             const file_inventory& files) const;

  /// Writes the stream that `write` gives the sink, which is closed behind it. Throws `output_error` and
  /// `interruption`; then nothing half is left.
  void write_stream(output_watch& watch, const std::function<void(byte_sink&)>& write) const;
  /// Takes to its place what `write` made at the path that it is given, a file or folder. Throws the same.
  void write_path(const std::function<void(const std::string&)>& write) const;

  /// Carries out `write`. False when the output could not be written, which was told with path and reason. A
  /// signal that asked the process to end meanwhile ends it.
  [[nodiscard]] bool tell_failure_of(const std::function<void()>& write) const;
  void tell_failure(const std::string& reason) const;

 private:
  [[nodiscard]] bool is_special() const;

  std::string path_;
  existing_output existing_;
};
