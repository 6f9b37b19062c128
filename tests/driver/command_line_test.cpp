#include "driver/command_line.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <csignal>
#include <filesystem>
#include <stdexcept>

#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace fs = std::filesystem;

namespace {

TEST(command_line, gives_name_stem_and_number) {
  const char* const option = "--omp_experimental";
  struct {
    std::vector<const char*> arguments;
    const char* stem;
    const char* name;
    int omp;
  } const cases[] = {{{}, "results/_kzr", "unknown", 0},
                     {{"run"}, "results/_kzr", "run", 0},
                     {{option}, "results/_kzr", "unknown", 1},
                     {{"--OMP_experimental"}, "results/_kzr", "--OMP_experimental", 0},
                     {{"--omp_experimental2"}, "results/_kzr", "--omp_experimental2", 0},
                     {{"run", option}, "results/_kzr", "run", 1},
                     {{option, "run"}, "results/_kzr", "run", 1},
                     {{option, option}, "results/_kzr", option, 1},
                     {{"run", "other"}, "results/_kzr", "unknown", 0},
                     {{"dir", "run", "2"}, "dir/_kzr", "run", 2},
                     {{"dir/", "", " -12abc", option}, "dir//_kzr", "", -12},
                     {{option, option, "0x1"}, "--omp_experimental/_kzr", option, 0},
                     {{"", "run", "\t+2147483647"}, "/_kzr", "run", 2147483647}};
  ASSERT_EQ(setenv("QZD_DIR", "results", 1), 0);
  const auto read = [](std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "kzr2xml");
    return read_command_line(static_cast<int>(arguments.size()), arguments.data());
  };
  for (const auto& [arguments, stem, name, omp] : cases) {
    const run_settings settings = read(arguments);
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(settings.trace_stem, stem);
    EXPECT_EQ(settings.run_name, name);
    EXPECT_EQ(settings.omp_experimental, omp);
  }
  EXPECT_THROW(static_cast<void>(read({"dir", "run", option})), std::invalid_argument);
  EXPECT_THROW(static_cast<void>(read({"dir", "run", "2147483648"})), std::out_of_range);
  ASSERT_EQ(setenv("QZD_DIR", "", 1), 0);
  EXPECT_EQ(default_base_name(), "/_kzr");
  unsetenv("QZD_DIR");
}

/// A run whose document tells by its frequency which trace file was read.
std::string marked(std::uint64_t frequency) {
  return kzr::trace_encoder(kzr::trace_form::binary, frequency, 1).end().take();
}

std::string frequency_in(const fs::path& timeline) {
  const std::string text = read_file(timeline);
  const std::string start = "frequency_in_hertz=\"";
  const std::size_t at = text.find(start) + start.size();
  return text.substr(at, text.find('"', at) - at);
}

TEST(kzr2xml, finds_the_trace_of_the_greatest_results_directory) {
  struct {
    std::vector<const char*> entries;  // trace files, by their number in this list
    std::vector<std::string> environment;
    const char* chosen;
  } const cases[] = {{{"_kzr.0"}, {}, "1"},
                     {{"_qzd_20231231_235959/_kzr.0", "_qzd_20240101_120000/_kzr.0", "_kzr.0"}, {}, "2"},
                     {{"_qzd_99999999_999999/_kzr.0", "_qzd_x/_kzr.0"}, {}, "2"},
                     {{"_qzd_00000000_000000/_kzr.0", "_kzr.0"}, {}, "2"},
                     {{"_qzd_/_kzr.0", "_qzd/_kzr.0", "xqzd_9/_kzr.0", "_qzD_9/_kzr.0", "_kzr.0"}, {}, "5"},
                     {{"_qzd_00000000_000000x/_kzr.0", "_kzr.0"}, {}, "1"},
                     {{"_qzd_1/_kzr.0", "_qzd_\xc3\xa4/_kzr.0"}, {}, "2"},
                     {{"_qzd_20240101_120000/_kzr.0", "named/_kzr.0", "_kzr.0"}, {"QZD_DIR=named"}, "2"},
                     {{"_qzd_20240101_120000/_kzr.0", "_kzr.0"}, {"QZD_DIR=."}, "2"}};
  for (const auto& [entries, environment, chosen] : cases) {
    SCOPED_TRACE(entries.front());
    const scratch_directory directory;
    for (std::size_t i = 0; i < entries.size(); ++i) write_file(directory / entries[i], marked(i + 1));
    const program_result result = run_kzr2xml({}, directory.path(), environment);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(frequency_in(directory / "unknown.traceml"), chosen);
  }
}

TEST(kzr2xml, takes_a_file_for_a_results_directory) {
  const scratch_directory directory;
  write_file(directory / "_qzd_y", "no directory");
  write_file(directory / "_qzd_20240101_120000/_kzr.0", marked(1));
  EXPECT_EQ(run_kzr2xml({}, directory.path()).signal, SIGABRT);
}

TEST(kzr2xml, writes_nothing_when_the_number_is_none) {
  for (const char* const number : {"x", "", "-", "2147483648", "-2147483649"}) {
    const scratch_directory directory;
    write_file(directory / "in/_kzr.0", marked(1));
    EXPECT_EQ(run_kzr2xml({"in", "run", number}, directory.path(), {"QZD_DIR=in"}).signal, SIGABRT) << number;
    EXPECT_FALSE(fs::exists(directory / "run.traceml"));
    EXPECT_FALSE(fs::exists(directory / "in/zup_result.csv"));
  }
}

TEST(kzr2xml, aborts_late_without_a_usable_trace_file) {
  for (const char* const bytes : {"", "foreign", "A1234567"}) {
    const scratch_directory directory;
    write_file(directory / "_kzr.0", bytes);
    const program_result result = run_kzr2xml({"run"}, directory.path(), {"QZD_DIR=."});
    EXPECT_EQ(result.signal, SIGABRT);
    EXPECT_EQ(read_file(directory / "run.traceml"),
              "<?xml version=\"1.0\"?>\n<!-- Generated by Quorvex 2019.1.1.17941 -->\n"
              "<traceml  name=\"run.traceml\" version=\"2019.1.1.17941\" hardware_concurrency=\"\">\n"
              "<time reference=\"clockticks\" frequency_in_hertz=\"\"/>\n");
    EXPECT_EQ(read_file(directory / "zup_result.csv"), "");
    EXPECT_FALSE(fs::exists(directory / "run.graphml"));
  }
}

TEST(kzr2xml, does_not_mind_outputs_that_cannot_be_opened) {
  const scratch_directory directory;
  write_file(directory / "_kzr.0", marked(1));
  fs::create_directories(directory / "run.traceml");
  fs::create_directories(directory / "run.graphml");
  fs::create_directories(directory / "zup_result.csv");
  for (const char* const name : {"run", "missing/run"}) {
    const program_result result =
        run_kzr2xml({name}, directory.path(), {"QZD_DIR=" + directory.path().string()});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out + result.err, "");
  }
}

}  // namespace
