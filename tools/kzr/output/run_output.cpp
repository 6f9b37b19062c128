#include "kzr/output/run_output.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <filesystem>

#include "kzr/common/complaint.h"
#include "kzr/dump/file_survey.h"

namespace fs = std::filesystem;

namespace {

bool is_trace_file(const std::string& path, const std::string& stem, std::uint64_t count) {
  std::error_code ignored;
  for (std::uint64_t n = 0; n < count; ++n) {
    if (fs::equivalent(path, stem + '.' + std::to_string(n), ignored)) return true;
  }
  return false;
}

}  // namespace

bool run_output::is_special() const {
  std::error_code ignored;
  const fs::file_status found = fs::status(path_, ignored);
  return fs::exists(found) && !fs::is_regular_file(found) && !fs::is_directory(found);
}

std::string run_output::explain_unusable(bool takes_stream, const std::string& stem,
                                         const file_inventory& files) const {
  if (is_standard_output()) return {};
  if (is_special()) return takes_stream ? "" : "it is no file";
  if (is_trace_file(path_, stem, files.count)) return "it is a trace file of the run";
  std::error_code ignored;
  if (fs::equivalent(path_, fs::path(stem).parent_path() / "imageload.csv", ignored)) {
    return "it is the run's list of images";
  }
  return explain_unusable_place(path_, existing_);
}

void run_output::write_stream(output_watch& watch, const std::function<void(byte_sink&)>& write) const {
  const auto write_to = [&write](file_sink&& out) {
    write(out);
    out.close();
  };
  // A file that may not grow is an error with a reason, not the end of the process.
  std::signal(SIGXFSZ, SIG_IGN);
  if (is_standard_output()) {
    const int copy = dup(STDOUT_FILENO);
    if (copy < 0) throw system_error_as_output_error(errno);
    return write_to(file_sink(copy, watch));
  }
  if (is_special()) return write_to(file_sink(path_, watch));
  write_path([&](const std::string& path) { write_to(file_sink(path, watch)); });
}

void run_output::write_path(const std::function<void(const std::string&)>& write) const {
  std::signal(SIGXFSZ, SIG_IGN);
  staged_output output(path_, existing_);
  write(output.path());
  output.move_to_place();
}

bool run_output::tell_failure_of(const std::function<void()>& write) const {
  try {
    write();
    return true;
  } catch (const output_error& failure) {
    tell_failure(failure.what());
  } catch (const interruption& end) {
    // By now the signal has its own effect again.
    std::raise(end.signal);
  }
  return false;
}

void run_output::tell_failure(const std::string& reason) const {
  complain((is_standard_output() ? "the output" : path_) + " could not be written: " + reason);
}
