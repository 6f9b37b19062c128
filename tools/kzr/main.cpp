#include <csignal>
#include <iostream>

#include "driver/conversion.h"
#include "kzr/program.h"

int main(int argc, char** argv) {
  // Whoever reads the output may stop at any time.
  std::signal(SIGPIPE, SIG_DFL);
  std::ios::sync_with_stdio(false);
  raise_open_file_limit();
  return run_program(argc, argv);
}
