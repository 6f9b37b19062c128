#pragma once

#include "kzr/common/subcommand.h"

/// The subcommand that converts a run to the files that kzr2xml writes, and tells what it wrote and what is
/// odd about the run.
[[nodiscard]] subcommand_action set_up_convert(CLI::App& command);
