#pragma once

#include <span>

#include "kzr/common/subcommand.h"

/// Everything that the program can be asked to do, in the order in which its help lists it.
[[nodiscard]] std::span<const subcommand> subcommands();
