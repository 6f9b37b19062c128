// Runs a command and prints what it took: seconds by the wall clock, seconds of the processor, peak memory in
// KiB. The memory counts pages of mapped files too. It is never less than that of this program at the time of
// the start, so this program keeps to the C library.

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>

#include <cstdio>
#include <cstring>

extern char** environ;

namespace {

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double wall_seconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("usage: measure COMMAND [ARGUMENT...]\n", stderr);
    return 2;
  }
  const double start = wall_seconds();
  pid_t child = 0;
  if (const int error = posix_spawnp(&child, argv[1], nullptr, nullptr, argv + 1, environ); error != 0) {
    std::fprintf(stderr, "%s: %s\n", argv[1], std::strerror(error));
    return 1;
  }
  int status = 0;
  rusage used{};
  if (wait4(child, &status, 0, &used) != child) return 1;
  const double end = wall_seconds();
  if (status != 0) {
    std::fprintf(stderr, "%s: ended with status %d\n", argv[1], status);
    return 1;
  }
  std::printf("%.6f %.6f %ld\n", end - start, seconds(used.ru_utime) + seconds(used.ru_stime),
              used.ru_maxrss);
  return 0;
}
