#pragma once

#include <string_view>

/// The version of the program, which the output files carry.
[[nodiscard]] constexpr std::string_view get_version_string() { return "2019.1.1.17941"; }
