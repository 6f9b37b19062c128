#include "kzr/dump/dump_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "kzr/common/number_option.h"
#include "kzr/common/run_option.h"
#include "kzr/common/similar_word.h"
#include "reader/record_descriptions.h"

namespace {

constexpr const char* description =
    "Shows what is in a recorded run: what its trace files hold, what graphs and tasks they describe, and\n"
    "everything about them that is damaged or odd. Writes no file.";

constexpr const char* exit_status_help =
    "\n"
    "Exit status: 0 for a sound run, 1 for one with damage or warnings (with --records: when a file could "
    "not\n"
    "be read to its end), 2 for wrong usage or when the output cannot be written.";

/// The number of the kind with that name or number.
std::size_t read_kind(const std::string& text) {
  std::vector<std::string> names;
  for (const record_description& described : record_descriptions) names.emplace_back(described.name);
  const auto found = std::find(names.begin(), names.end(), text);
  if (found != names.end()) return static_cast<std::size_t>(found - names.begin());
  const std::optional<std::size_t> kind = read_number<std::size_t>(text);
  if (kind && *kind < names.size()) return *kind;
  throw CLI::ValidationError("--kind", "\"" + text + "\" is no kind of record; it takes a number from 0 to " +
                                           std::to_string(names.size() - 1) +
                                           " or a name such as task_begin" + suggest(text, names));
}

}  // namespace

void add_dump_options(CLI::App& command, dump_options& options) {
  command.description(description);
  command.footer(std::string(default_run_help) + exit_status_help);
  add_run_option(command, options.stem);
  command.add_flag("--omp_experimental", options.omp_experimental,
                   "Look into OpenMP regions, as the option of kzr2xml does");
  CLI::Option* const json = command.add_flag("--json", options.as_json, "Write the summary as JSON");
  CLI::Option* const records = command.add_flag("--records", options.list_records,
                                                "List all records, merged by time, instead of the summary");
  records->excludes(json);
  const auto narrow_down = [records](CLI::Option* option, const char* type) {
    return option->type_name(type)->group("Which records")->needs(records);
  };
  record_filter& filter = options.filter;
  const auto add_kinds = [&filter](const std::vector<std::string>& kinds) {
    for (const std::string& kind : kinds) filter.kinds[read_kind(kind)] = true;
  };
  // Options that may be repeated take one value each time, so that the run can follow them.
  narrow_down(command.add_option_function<std::vector<std::string>>(
                  "--kind", add_kinds, "Only records of this kind, by name or number; may be repeated"),
              "KIND")
      ->allow_extra_args(false);
  narrow_down(command.add_option("--producer", filter.producers,
                                 "Only records of the trace file with this number; may be repeated"),
              "NUMBER")
      ->allow_extra_args(false)
      ->transform(number_of<int>());
  narrow_down(command.add_option("--from", filter.from, "Only records with this timestamp or a later one"),
              "TICKS")
      ->transform(number_of<std::uint64_t>());
  narrow_down(command.add_option("--to", filter.to, "Only records with this timestamp or an earlier one"),
              "TICKS")
      ->transform(number_of<std::uint64_t>());
  command.final_callback([&options] {
    if (options.filter.from > options.filter.to) {
      throw CLI::ValidationError("--from", std::to_string(options.filter.from) + " is later than --to " +
                                               std::to_string(options.filter.to));
    }
    options.stem = find_trace_stem(options.stem);
  });
}
