#include "kzr/common/process_settings.h"

#include <sys/resource.h>

#include <csignal>

#include "driver/conversion.h"

namespace {

struct inherited_settings {
  struct sigaction broken_pipe {};
  rlimit open_files{};
};

inherited_settings inherited;

}  // namespace

void change_process_settings() {
  sigaction(SIGPIPE, nullptr, &inherited.broken_pipe);
  getrlimit(RLIMIT_NOFILE, &inherited.open_files);
  // Whoever reads the output may stop at any time.
  std::signal(SIGPIPE, SIG_DFL);
  raise_open_file_limit();
}

void restore_process_settings() {
  sigaction(SIGPIPE, &inherited.broken_pipe, nullptr);
  setrlimit(RLIMIT_NOFILE, &inherited.open_files);
}
