#include "kzr/report/desktop_browser.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "kzr/common/process_settings.h"

namespace {

constexpr const char* opener = "xdg-open";

/// Becomes the desktop's program, in a session of its own and without this program's terminal. Tells through
/// the pipe why not.
[[noreturn]] void become_opener(const std::string& path, int pipe) {
  restore_process_settings();
  setsid();
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, standard);
  execlp(opener, opener, path.c_str(), static_cast<char*>(nullptr));
  const int reason = errno;
  static_cast<void>(!write(pipe, &reason, sizeof reason));
  _exit(1);
}

}  // namespace

std::string open_on_desktop(const std::string& path) {
  const std::string whole_path = std::filesystem::absolute(path).string();
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return std::strerror(errno);
  const pid_t child = fork();
  if (child == 0) {
    // The process in between ends at once, so that no one has to wait for the other.
    if (fork() == 0) become_opener(whole_path, ends[1]);
    _exit(0);
  }
  close(ends[1]);
  int reason = child < 0 ? errno : 0;
  if (child > 0) {
    waitpid(child, nullptr, 0);
    // Nothing comes when the program was started, since the pipe closes then.
    static_cast<void>(!read(ends[0], &reason, sizeof reason));
  }
  close(ends[0]);
  return reason == 0 ? "" : std::string(opener) + ": " + std::strerror(reason);
}
