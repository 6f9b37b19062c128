#pragma once

#include "kzr/common/subcommand.h"

/// The subcommand that shows the help of the whole program or of one subcommand.
[[nodiscard]] subcommand_action set_up_help(CLI::App& command);
