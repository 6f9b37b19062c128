#pragma once

#include "kzr/common/subcommand.h"

/// The subcommand that tells where the time of a run went.
[[nodiscard]] subcommand_action set_up_report(CLI::App& command);
