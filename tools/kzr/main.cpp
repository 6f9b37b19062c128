#include <iostream>

#include "kzr/common/process_settings.h"
#include "kzr/program.h"

int main(int argc, char** argv) {
  change_process_settings();
  std::ios::sync_with_stdio(false);
  return run_program(argc, argv);
}
