#include "support/run_program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

/// Puts the file `path` in the place of the descriptor `target`. Between fork and exec: plain system calls
/// only.
bool redirect(int target, const char* path) {
  const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  return file >= 0 && dup2(file, target) >= 0;
}

}  // namespace

program_result run_program(const std::vector<std::string>& command, const std::filesystem::path& directory,
                           const std::vector<std::string>& environment) {
  // Files instead of pipes: nothing blocks, however much the program writes.
  const scratch_directory capture;
  const std::string out = capture / "out";
  const std::string err = capture / "err";
  std::vector<char*> argv;
  for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);

  const pid_t child = fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child == 0) {
    unsetenv("QZD_DIR");
    for (const std::string& setting : environment) putenv(const_cast<char*>(setting.c_str()));
    if (chdir(directory.c_str()) == 0 && redirect(STDOUT_FILENO, out.c_str()) &&
        redirect(STDERR_FILENO, err.c_str())) {
      execv(argv[0], argv.data());
    }
    _exit(127);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  program_result result;
  if (WIFEXITED(status)) result.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.out = read_file(out);
  result.err = read_file(err);
  return result;
}

program_result run_kzr2xml(const std::vector<std::string>& arguments, const std::filesystem::path& directory,
                           const std::vector<std::string>& environment) {
  std::vector<std::string> command = {KZR2XML_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return run_program(command, directory, environment);
}
