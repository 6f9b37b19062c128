#pragma once

#include "kzr/common/subcommand.h"

/// `kzr record`: runs a program and records what it does with OpenMP.
[[nodiscard]] subcommand_action set_up_record(CLI::App& command);
