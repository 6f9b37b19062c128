#include "kzr/record/child_process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>

#include "kzr/common/process_settings.h"

namespace {

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

/// Holds back the signals that are to be passed on, and hears of the end of children. The program gets what
/// was in force before.
class held_signals {
 public:
  held_signals() {
    struct sigaction by_default {};
    by_default.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &by_default, &end_of_child_);
    sigfillset(&held_);
    for (const int own : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) sigdelset(&held_, own);
    sigprocmask(SIG_SETMASK, &held_, &mask_);
  }
  held_signals(const held_signals&) = delete;
  held_signals& operator=(const held_signals&) = delete;
  ~held_signals() { restore(); }

  void restore() const {
    sigaction(SIGCHLD, &end_of_child_, nullptr);
    sigprocmask(SIG_SETMASK, &mask_, nullptr);
  }

  /// Waits for the next signal.
  [[nodiscard]] siginfo_t wait() const {
    siginfo_t info{};
    while (sigwaitinfo(&held_, &info) < 0) {
    }
    return info;
  }

 private:
  sigset_t held_{};
  sigset_t mask_{};
  struct sigaction end_of_child_ {};
};

/// What there is to do in the new process, which becomes the program.
[[noreturn]] void become(const std::vector<std::string>& command,
                         const std::vector<std::pair<std::string, std::string>>& environment,
                         const held_signals& signals, int error_pipe) {
  for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  restore_process_settings();
  signals.restore();
  execvp(arguments.front(), arguments.data());
  const int error = errno;
  if (write(error_pipe, &error, sizeof error) < 0) _exit(126);
  _exit(126);
}

/// True when the program has ended, with `end` saying how. While it is stopped, so is this process.
bool has_ended(pid_t child, child_end& end) {
  int status = 0;
  while (true) {
    const pid_t changed = waitpid(child, &status, WNOHANG | WUNTRACED);
    if (changed != child) return false;
    if (WIFSTOPPED(status)) {
      kill(getpid(), SIGSTOP);
      kill(child, SIGCONT);
      continue;
    }
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    end.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    return true;
  }
}

/// Whether the program does not get the signal by itself, as it gets what the terminal or the program sends
/// to the process group.
bool is_to_be_passed_on(const siginfo_t& info, pid_t child) {
  if (info.si_signo == SIGCHLD) return false;
  if (info.si_code <= 0) return info.si_pid != child;
  // Those that the system sends to one process: of its timer, and to the first process of a terminal when
  // that is closed.
  const bool leads_session = getsid(0) == getpid();
  return info.si_signo == SIGALRM || (leads_session && (info.si_signo == SIGHUP || info.si_signo == SIGCONT));
}

void pass_on(const siginfo_t& info, pid_t child) {
  if (info.si_code == SI_QUEUE) {
    sigqueue(child, info.si_signo, info.si_value);
  } else {
    kill(child, info.si_signo);
  }
}

}  // namespace

child_end run_child(const std::vector<std::string>& command,
                    const std::vector<std::pair<std::string, std::string>>& environment) {
  std::array<int, 2> error_pipe{};
  if (pipe2(error_pipe.data(), O_CLOEXEC) != 0) fail("a pipe cannot be made");
  const held_signals signals;
  const pid_t child = fork();
  if (child < 0) fail("a process cannot be started");
  if (child == 0) become(command, environment, signals, error_pipe[1]);
  close(error_pipe[1]);
  child_end end;
  // The program's side closes without a word when the program begins.
  if (read(error_pipe[0], &end.start_error, sizeof end.start_error) <= 0) end.start_error = 0;
  close(error_pipe[0]);
  while (!has_ended(child, end)) {
    const siginfo_t info = signals.wait();
    if (is_to_be_passed_on(info, child)) pass_on(info, child);
  }
  return end;
}

void end_by_signal(int signal) {
  const rlimit no_core{};
  setrlimit(RLIMIT_CORE, &no_core);
  std::signal(signal, SIG_DFL);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  sigprocmask(SIG_UNBLOCK, &only, nullptr);
  raise(signal);
}
