#pragma once

#include <functional>

namespace CLI {
class App;
}

/// What a subcommand does when its arguments are read; returns the exit status. Throws `CLI::ParseError` for
/// arguments that make no sense, another exception for whatever keeps it from its work.
using subcommand_action = std::function<int()>;

/// One of the things that the program can be asked to do.
struct subcommand {
  const char* name;
  const char* summary;  ///< for the list of all, on one line
  /// Gives `command` its description and arguments. The action works on what is parsed in between, which it
  /// owns.
  subcommand_action (*set_up)(CLI::App& command);
};
