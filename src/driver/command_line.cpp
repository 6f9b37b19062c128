#include "driver/command_line.h"

#include <dirent.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

constexpr std::string_view omp_option = "--omp_experimental";
constexpr const char* file_stem = "_kzr";
constexpr std::string_view results_prefix = "_qzd_";
constexpr std::string_view least_results_name = "_qzd_00000000_000000";

struct directory_closer {
  void operator()(DIR* directory) const { closedir(directory); }
};

}  // namespace

run_settings read_command_line(int argc, const char* const* argv) {
  run_settings settings;
  if (argc >= 4) {
    // The number first: a bad one must end the program before anything is opened.
    settings.omp_experimental = std::stoi(argv[3]);
    settings.trace_stem = trace_stem_in(argv[1]);
    settings.run_name = argv[2];
    return settings;
  }
  settings.trace_stem = default_base_name();
  if (argc == 3) {
    // Two names without the option are both ignored.
    const bool option_is_second = argv[2] == omp_option;
    if (option_is_second || argv[1] == omp_option) {
      settings.run_name = option_is_second ? argv[1] : argv[2];
      settings.omp_experimental = 1;
    }
  } else if (argc == 2) {
    if (argv[1] == omp_option) {
      settings.omp_experimental = 1;
    } else {
      settings.run_name = argv[1];
    }
  }
  return settings;
}

std::string trace_stem_in(const std::string& directory) { return directory + '/' + file_stem; }

std::string default_base_name() {
  if (const char* const results = std::getenv("QZD_DIR")) return trace_stem_in(results);
  std::string best(least_results_name);
  if (const std::unique_ptr<DIR, directory_closer> directory{opendir(".")}) {
    while (const dirent* const entry = readdir(directory.get())) {
      const std::string_view name = entry->d_name;
      if (name.starts_with(results_prefix) && name > best) best = name;
    }
  }
  return best == least_results_name ? file_stem : trace_stem_in(best);
}
