#include "kzr/dump/dump_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>

#include "driver/command_line.h"
#include "kzr/common/exit_status.h"
#include "reader/record_descriptions.h"

namespace fs = std::filesystem;

namespace {

// The merge keeps the records that end a file to itself.
constexpr std::size_t mergeable_kinds = 17;

constexpr std::size_t option_column_width = 36;

constexpr const char* description =
    "Shows what is in a recorded run: what its trace files hold, what graphs and tasks they describe, and\n"
    "everything about them that is damaged or odd. Writes no file.";

constexpr const char* footer =
    "Without stem the trace files are those that kzr2xml would convert: those of the directory that QZD_DIR\n"
    "names, else of the directory _qzd_* here with the greatest name, else those here.\n"
    "\n"
    "Exit status: 0 for a sound run, 1 for one with damage or warnings (with --records: when a file could "
    "not\n"
    "be read to its end), 2 for wrong usage.";

/// The stem that the user means: a directory stands for the trace files in it.
std::string resolve_stem(const std::string& given) {
  if (given.empty()) return default_base_name();
  std::error_code ignored;
  const bool names_files = fs::exists(given + ".0", ignored);
  return !names_files && fs::is_directory(given, ignored) ? trace_stem_in(given) : given;
}

/// `text` as a plain decimal number that is not negative; empty when it is none.
template <class Number>
std::optional<Number> read_number(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || rest != end || number < 0) return std::nullopt;
  return number;
}

/// Lets only those numbers through, in the plainest form: the library itself takes negative ones for large
/// ones and those with a leading zero for octal ones.
template <class Number>
CLI::Validator number_of() {
  return {[](std::string& text) -> std::string {
            const std::optional<Number> number = read_number<Number>(text);
            if (!number) return '"' + text + "\" is no number that fits";
            text = std::to_string(*number);
            return {};
          },
          ""};
}

/// The number of the kind with that name or number.
std::size_t read_kind(const std::string& text) {
  const auto* const last = record_descriptions.begin() + mergeable_kinds;
  const auto* const found = std::find_if(record_descriptions.begin(), last,
                                         [&text](const record_description& d) { return d.name == text; });
  if (found != last) return static_cast<std::size_t>(found - record_descriptions.begin());
  const std::optional<std::size_t> kind = read_number<std::size_t>(text);
  if (kind && *kind < mergeable_kinds) return *kind;
  throw CLI::ValidationError("--kind", "\"" + text + "\" is no kind of record; it takes a number from 0 to " +
                                           std::to_string(mergeable_kinds - 1) +
                                           " or a name such as task_begin");
}

}  // namespace

parsed_command_line parse_command_line(int argc, const char* const* argv) {
  dump_options options;
  std::string stem;
  std::vector<std::string> kinds;

  CLI::App app(description, "kzrdump");
  app.footer(footer);
  app.get_formatter()->column_width(option_column_width);
  app.set_version_flag("--version", "kzrdump " KZR_VERSION, "Print the version and exit");
  app.add_option("stem", stem,
                 "Path of the trace files without point and number, as run/_kzr, or their directory")
      ->type_name("");
  app.add_flag("--omp_experimental", options.omp_experimental,
               "Look into OpenMP regions, as the option of kzr2xml does");
  CLI::Option* const json = app.add_flag("--json", options.as_json, "Write the summary as JSON");
  CLI::Option* const records = app.add_flag("--records", options.list_records,
                                            "List all records, merged by time, instead of the summary");
  records->excludes(json);
  const auto narrow_down = [&app, records](const char* name, auto& to, const char* type, const char* help) {
    CLI::Option* const option = app.add_option(name, to, help);
    return option->type_name(type)->group("Which records")->needs(records);
  };
  // Options that may be repeated take one value each time, so that the stem can follow them.
  narrow_down("--kind", kinds, "KIND", "Only records of this kind, by name or number; may be repeated")
      ->allow_extra_args(false);
  narrow_down("--producer", options.filter.producers, "NUMBER",
              "Only records of the trace file with this number; may be repeated")
      ->allow_extra_args(false)
      ->transform(number_of<int>());
  narrow_down("--from", options.filter.from, "TICKS", "Only records with this timestamp or a later one")
      ->transform(number_of<std::uint64_t>());
  narrow_down("--to", options.filter.to, "TICKS", "Only records with this timestamp or an earlier one")
      ->transform(number_of<std::uint64_t>());
  try {
    app.parse(argc, argv);
    for (const std::string& kind : kinds) options.filter.kinds[read_kind(kind)] = true;
    if (options.filter.from > options.filter.to) throw CLI::ValidationError("--from", "is later than --to");
  } catch (const CLI::ParseError& end) {
    return {std::nullopt, app.exit(end) == 0 ? exit_sound : exit_usage};
  }
  options.stem = resolve_stem(stem);
  return {options, exit_sound};
}
