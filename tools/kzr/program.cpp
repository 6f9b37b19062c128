#include "kzr/program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "kzr/common/complaint.h"
#include "kzr/common/exit_status.h"
#include "kzr/common/similar_word.h"
#include "kzr/subcommands.h"

namespace {

constexpr std::size_t option_column_width = 36;
constexpr std::size_t summary_column = 10;

constexpr const char* description =
    "Shows what is in the recorded runs of flow graphs and OpenMP programs, and records these.";

constexpr const char* footer =
    "\n"
    "\"kzr help COMMAND\" says more about one of them.\n"
    "\n"
    "Exit status: 0 when all went well, 1 when dump finds damage or warnings in the run, 2 for wrong\n"
    "usage or an output that cannot be written. That of record is its program's, or from 125 to 127.";

void add_version_flag(CLI::App& command) {
  command.set_version_flag("--version", "kzr " KZR_VERSION, "Print the version and exit");
}

/// The subcommands by name and summary, a line each.
std::string list_subcommands() {
  std::string list = "Commands:\n";
  for (const subcommand& each : subcommands()) {
    std::string name = each.name;
    name.resize(std::max(summary_column, name.size() + 1), ' ');
    list += "  " + name + each.summary + '\n';
  }
  return list;
}

/// All that the program understands, and what to do then.
class command_line {
 public:
  command_line() {
    app_.get_formatter()->column_width(option_column_width);
    app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
    add_version_flag(app_);
    // With a second one allowed, a run could not be called like a subcommand.
    app_.require_subcommand(0, 1);
    for (const subcommand& each : subcommands()) {
      CLI::App* const command = app_.add_subcommand(each.name);
      // The footer lists it, by its summary instead of its description.
      command->group("");
      add_version_flag(*command);
      actions_.push_back({command, each.set_up(*command)});
    }
    // Subcommands that are added later would take it over.
    app_.footer(list_subcommands() + footer);
  }

  /// Parses the arguments and carries out the subcommand. Throws what the parser or the subcommand throws.
  int run(int argc, const char* const* argv) {
    app_.parse(argc, argv);
    const std::vector<CLI::App*> selected = app_.get_subcommands();
    for (const auto& [command, act] : actions_) {
      if (!selected.empty() && command == selected.front()) return act();
    }
    std::cerr << app_.help();
    return exit_failure;
  }

  /// Answers a call for help or for the version, tells of other errors.
  int end(const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app_.exit(error);
    const bool fits_nowhere = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    complain(fits_nowhere ? describe_unknown() : error.what());
    std::cerr << "Run with --help for more information.\n";
    return exit_failure;
  }

 private:
  /// Tells of the first argument that fits nowhere.
  [[nodiscard]] std::string describe_unknown() const {
    const std::vector<CLI::App*> selected = app_.get_subcommands();
    const std::string argument = app_.remaining(true).at(0);
    if (argument.starts_with('-')) {
      const bool is_own = selected.empty() || !app_.remaining().empty();
      return describe_unknown_option(argument, is_own ? app_ : *selected.front());
    }
    if (!selected.empty()) return "one argument too many: \"" + argument + '"';
    return "there is no command \"" + argument + '"' + suggest(argument, names_of_subcommands(app_));
  }

  CLI::App app_{description, "kzr"};
  struct action {
    CLI::App* command;
    subcommand_action act;
  };
  std::vector<action> actions_;
};

}  // namespace

int run_program(int argc, const char* const* argv) {
  int exit_status = exit_failure;
  try {
    command_line arguments;
    try {
      exit_status = arguments.run(argc, argv);
    } catch (const CLI::ParseError& error) {
      exit_status = arguments.end(error);
    }
  } catch (const std::exception& failure) {
    complain(failure.what());
  }
  if (std::cout.flush()) return exit_status;
  complain("the output could not be written");
  return exit_failure;
}
