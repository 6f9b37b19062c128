#include "kzr/convert/convert_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "driver/conversion.h"
#include "kzr/common/captured_output.h"
#include "kzr/common/complaint.h"
#include "kzr/common/exit_status.h"
#include "kzr/common/printable.h"
#include "kzr/common/progress_bar.h"
#include "kzr/common/run_option.h"
#include "kzr/common/text_table.h"
#include "kzr/dump/file_survey.h"
#include "kzr/dump/record_size.h"
#include "kzr/dump/run_summary.h"
#include "kzr/dump/summary_text.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* description =
    "Converts a recorded run to GraphML and TraceML, byte for byte as kzr2xml does, and tells what it wrote\n"
    "and what about the run is odd.";

constexpr const char* footer =
    "Code offsets and zup_result.csv are there when QZD_DIR names the results directory, as for kzr2xml.\n"
    "\n"
    "Exit status: 0 when all outputs were written, 2 for wrong usage, a run that cannot be converted to its\n"
    "end, or an output that cannot be written.";

/// Of a run with more problems or outputs the rest is only counted.
constexpr std::size_t most_lines = 40;

struct convert_options {
  std::string stem;
  std::string directory;
  std::string name = run_settings().run_name;
  bool omp_experimental = false;
};

/// Collects what a conversion tells, and shows on a terminal how far it is.
class conversion_log : public conversion_watcher {
 public:
  struct output {
    std::string path;
    bool is_whole;
  };

  explicit conversion_log(const file_inventory& files) : progress_(files.total_bytes) {
    progress_.add(files.xml_bytes);
  }

  void on_step(const char* step) override {
    has_timeline_ = !step_.empty();
    step_ = step;
    progress_.tell(step);
  }
  void on_record(const trace_record& record) override { progress_.add(binary_size_of(record)); }
  void on_output(const std::string& path, bool is_whole) override { outputs_.push_back({path, is_whole}); }

  [[nodiscard]] const std::string& step() const { return step_; }
  /// Whether the timeline was begun, which is what the first step ends with.
  [[nodiscard]] bool has_timeline() const { return has_timeline_; }
  [[nodiscard]] const std::vector<output>& outputs() const { return outputs_; }

 private:
  progress_bar progress_;
  std::string step_;
  bool has_timeline_ = false;
  std::vector<output> outputs_;
};

/// What is wrong with a name for the outputs; empty when nothing is. It stands in names of files, and as it
/// is in the documents.
std::string check_name(const std::string& name) {
  const auto breaks_out = [](char c) {
    return c == '/' || c == '"' || c == '<' || c == '&' || static_cast<unsigned char>(c) < ' ';
  };
  if (!name.empty() && std::none_of(name.begin(), name.end(), breaks_out)) return {};
  return "a name of outputs has at least one character, none of / \" < & and no control character";
}

/// Goes to the directory of the outputs, which is made when it is missing. What the environment and the stem
/// name stays the same.
void enter_output_directory(convert_options& options) {
  if (options.directory.empty()) return;
  const char* const results = std::getenv("QZD_DIR");
  if (results != nullptr && *results != '\0') setenv("QZD_DIR", fs::absolute(results).c_str(), 1);
  options.stem = fs::absolute(options.stem);
  std::error_code failure;
  fs::create_directories(options.directory, failure);
  fs::current_path(options.directory, failure);
  if (failure) throw std::runtime_error(options.directory + " cannot be used: " + failure.message());
}

void list_outputs(const std::vector<conversion_log::output>& outputs, const std::string& directory) {
  text_table table({{"file", text_table::align::left}, {"bytes"}});
  std::size_t left_out = 0;
  std::error_code ignored;
  for (const auto& [path, is_whole] : outputs) {
    if (is_whole && ++left_out <= most_lines) {
      table.add_row({path, std::to_string(fs::file_size(path, ignored))});
    }
  }
  if (table.is_empty()) return;
  std::cout << "\nWritten to " << (directory.empty() ? "the working directory" : printable(directory))
            << '\n';
  table.print(std::cout);
  if (left_out > most_lines) std::cout << "  and " << left_out - most_lines << " more\n";
  if (std::getenv("QZD_DIR") == nullptr) {
    std::cout << "  no code offsets and no zup_result.csv, since QZD_DIR is not set\n";
  }
}

int convert_run(convert_options options) {
  const file_inventory files = list_files(options.stem);
  if (!files.special_file.empty()) {
    complain(files.special_file + " is a pipe or device, which is not read");
    return exit_failure;
  }
  const run_summary run = summarise_run(options.stem, options.omp_experimental);
  if (run.is_missing()) {
    complain(explain_missing_run(options.stem));
    return exit_failure;
  }
  enter_output_directory(options);
  ignore_output_signals();
  write_verdict(run, most_lines, std::cout);

  int exit_status = exit_success;
  conversion_log log(files);
  try {
    // What the converter says of texts and tasks is among the problems.
    const captured_output messages(std::cout);
    const captured_output warnings(std::cerr);
    convert({options.stem, options.name, options.omp_experimental ? 1 : 0}, &log);
  } catch (const std::exception& end) {
    exit_status = exit_failure;
    const std::string reason = run.converter_end.empty() ? log.step() + ": " + end.what() : run.converter_end;
    complain("the conversion ended while " + reason);
    if (log.has_timeline()) complain(options.name + ".traceml is not complete");
  }
  for (const auto& [path, is_whole] : log.outputs()) {
    if (is_whole) continue;
    exit_status = exit_failure;
    complain(path + " could not be written, or not all of it");
  }
  list_outputs(log.outputs(), options.directory);
  return exit_status;
}

}  // namespace

subcommand_action set_up_convert(CLI::App& command) {
  const auto options = std::make_shared<convert_options>();
  command.description(description);
  command.footer(std::string(default_run_help) + footer);
  add_run_option(command, options->stem);
  command.add_option("-o,--output", options->directory, "Directory for the outputs, made if missing")
      ->type_name("DIRECTORY")
      ->check([](const std::string& directory) {
        return std::string(directory.empty() ? "the name of a directory is not empty" : "");
      });
  command.add_option("--name", options->name, "Base name of the outputs")
      ->type_name("NAME")
      ->capture_default_str()
      ->check(check_name);
  command.add_flag("--omp_experimental", options->omp_experimental,
                   "Write the insides of OpenMP regions too");
  command.final_callback([options] { options->stem = find_trace_stem(options->stem); });
  return [options] { return convert_run(*options); };
}
