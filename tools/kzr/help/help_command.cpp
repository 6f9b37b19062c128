#include "kzr/help/help_command.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "kzr/common/exit_status.h"
#include "kzr/common/similar_word.h"

namespace {

int show_help(const CLI::App& program, const std::string& topic) {
  if (topic.empty()) {
    // The program's own function would show the page of the subcommand that was called, which is this one.
    std::cout << program.get_formatter()->make_help(&program, program.get_name(), CLI::AppFormatMode::Normal);
    return exit_success;
  }
  const std::vector<const CLI::App*> named =
      program.get_subcommands([&topic](const CLI::App* command) { return command->get_name() == topic; });
  if (named.empty()) {
    throw CLI::ParseError(
        "there is no command \"" + topic + '"' + suggest(topic, names_of_subcommands(program)),
        CLI::ExitCodes::InvalidError);
  }
  std::cout << named.front()->help(program.get_name());
  return exit_success;
}

}  // namespace

subcommand_action set_up_help(CLI::App& command) {
  const auto topic = std::make_shared<std::string>();
  command.description("Shows what the program can do, or how one of its commands is used.");
  command.add_option("COMMAND", *topic, "Name of the command")->type_name("");
  const CLI::App& program = *command.get_parent();
  return [&program, topic] { return show_help(program, *topic); };
}
