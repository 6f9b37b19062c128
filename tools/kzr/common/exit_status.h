#pragma once

/// Exit status of the program: nothing to complain of, damage or warnings in a run (of the dump only), wrong
/// usage or an output that cannot be written.
constexpr int exit_success = 0;
constexpr int exit_findings = 1;
constexpr int exit_failure = 2;
