#pragma once

#include "kzr/common/subcommand.h"

/// The subcommand that tells what is in a run and everything about it that is damaged or odd. Its exit status
/// is `exit_findings` when there is such a thing.
[[nodiscard]] subcommand_action set_up_dump(CLI::App& command);
