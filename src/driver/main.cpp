#include "driver/command_line.h"
#include "driver/conversion.h"

int main(int argc, char** argv) {
  raise_open_file_limit();
  ignore_output_signals();
  convert(read_command_line(argc, argv));
  return 0;
}
