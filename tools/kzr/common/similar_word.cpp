#include "kzr/common/similar_word.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace {

constexpr std::size_t most_slips = 2;

/// How many letters have to be added, left out, changed or swapped with their neighbour to make one word of
/// the other.
std::size_t count_slips(std::string_view from, std::string_view to) {
  std::vector<std::size_t> two_above;
  std::vector<std::size_t> above(to.size() + 1);
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), 0U);
  for (std::size_t i = 0; i < from.size(); ++i) {
    two_above = std::exchange(above, row);
    row[0] = i + 1;
    for (std::size_t j = 0; j < to.size(); ++j) {
      row[j + 1] = std::min({above[j + 1] + 1, row[j] + 1, above[j] + (from[i] == to[j] ? 0 : 1)});
      const bool is_swapped = i > 0 && j > 0 && from[i] == to[j - 1] && from[i - 1] == to[j];
      if (is_swapped) row[j + 1] = std::min(row[j + 1], two_above[j - 1] + 1);
    }
  }
  return row.back();
}

}  // namespace

std::string suggest(std::string_view word, const std::vector<std::string>& known) {
  std::size_t fewest = most_slips + 1;
  std::string nearest;
  for (const std::string& candidate : known) {
    const std::size_t slips = count_slips(word, candidate);
    // Of a short word half would not be left.
    if (slips >= fewest || 2 * slips >= candidate.size()) continue;
    fewest = slips;
    nearest = candidate;
  }
  return nearest.empty() ? std::string() : "; did you mean \"" + nearest + "\"?";
}

std::string describe_unknown_option(const std::string& argument, const CLI::App& command) {
  std::vector<std::string> known;
  for (const CLI::Option* const option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
  }
  const std::string option = argument.substr(0, argument.find('='));
  return "there is no option \"" + option + '"' + suggest(option, known);
}

std::vector<std::string> names_of_subcommands(const CLI::App& program) {
  std::vector<std::string> names;
  for (const CLI::App* const command : program.get_subcommands({})) names.push_back(command->get_name());
  return names;
}
