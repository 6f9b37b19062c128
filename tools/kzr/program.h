#pragma once

/// Does what the command line asks for and returns the exit status: that of the subcommand, or `exit_failure`
/// when the arguments make no sense, the subcommand throws, or standard output could not be written; standard
/// error then says why.
[[nodiscard]] int run_program(int argc, const char* const* argv);
