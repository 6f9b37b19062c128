#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

/// The end of a message about an unknown word: asks whether the most similar of the known words was meant.
/// Empty when none of them is so similar that it could be a slip.
[[nodiscard]] std::string suggest(std::string_view word, const std::vector<std::string>& known);

/// Says that `command` has no such option; what stands behind "=" is its value.
[[nodiscard]] std::string describe_unknown_option(const std::string& argument, const CLI::App& command);

/// The words that `program` knows as subcommands.
[[nodiscard]] std::vector<std::string> names_of_subcommands(const CLI::App& program);
