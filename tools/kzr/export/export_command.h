#pragma once

#include "kzr/common/subcommand.h"

/// The subcommand that writes a run in the formats of other tools.
[[nodiscard]] subcommand_action set_up_export(CLI::App& command);
