#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace fs = std::filesystem;

namespace {

using kzr::object_id;
using kzr::trace_form;
using strings = std::vector<std::string>;

constexpr object_id graph{1, 0, 0};
constexpr object_id node{2, 1, 0};

/// A composite node whose code lies in an image, and a region with the same identifier words for OpenMP.
std::string run_file(trace_form form) {
  return recorded(form)
      .domain(1, "openmp")
      .string_handle(3, "graph")
      .string_handle(4, "composite_node")
      .string_handle(5, "code_address")
      .string_handle(6, "omp_parallel")
      .string_handle(7, "omp_implicit")
      .task_group(1, graph, {}, 3)
      .task_group(1, {2, 7, 0}, {}, 6)
      .task_group(1, node, graph, 4)
      .task_group(1, {2, 8, 0}, {2, 7, 0}, 7)
      .metadata(1, node, 5, kzr::value_type::u64, 1, 5000)
      .task_begin(1, {2, 7, 0}, {}, 6, 0)
      .task_begin(1, {2, 8, 0}, {2, 7, 0}, 7, 0)
      .task_end(1)
      .task_end(1)
      .end()
      .take();
}

class kzr_convert : public testing::Test {
 protected:
  kzr_convert() { write_run({run_file(trace_form::binary), run_file(trace_form::xml)}); }

  void write_run(const strings& files) const {
    fs::remove_all(directory_ / "run");
    for (std::size_t n = 0; n < files.size(); ++n) {
      write_file(directory_ / "run" / ("_kzr." + std::to_string(n)), files[n]);
    }
    write_file(directory_ / "run/imageload.csv", "/bin/app,4096,8191,0,1\n");
  }

  [[nodiscard]] program_result convert(strings arguments, const strings& environment = {}) const {
    arguments.insert(arguments.begin(), {KZR_PROGRAM, "convert"});
    return run_program(arguments, directory_.path(), environment);
  }

  /// The bytes of all files below a directory that is in the scratch directory, by their path there.
  [[nodiscard]] std::map<std::string, std::string> files_in(const std::string& name) const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(directory_ / name)) {
      if (entry.is_regular_file())
        files[entry.path().lexically_relative(directory_ / name)] = read_file(entry.path());
    }
    return files;
  }

  scratch_directory directory_;
};

TEST_F(kzr_convert, writes_what_kzr2xml_writes) {
  struct {
    strings convert;
    strings kzr2xml;
    strings environment;
  } const cases[] = {
      {{}, {}, {"QZD_DIR=../run"}},
      {{"--omp_experimental"}, {"--omp_experimental"}, {"QZD_DIR=../run"}},
      {{"--name", "flow", "run"}, {"../run", "flow", "0"}, {}},
      {{"run/_kzr", "--name", "flow", "--omp_experimental"}, {"../run", "flow", "1"}, {"QZD_DIR=../run"}},
  };
  for (auto [arguments, converter_arguments, environment] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    fs::create_directory(directory_ / "expected");
    const program_result expected = run_kzr2xml(converter_arguments, directory_ / "expected", environment);
    ASSERT_EQ(expected.exit_status, 0) << expected.err;
    std::map<std::string, std::string> files = files_in("expected");
    const fs::path offsets = directory_ / "run/zup_result.csv";
    const bool has_offsets = fs::exists(offsets);
    EXPECT_EQ(has_offsets, !environment.empty());
    if (has_offsets) files["zup_result.csv"] = read_file(offsets);
    fs::remove(offsets);

    // From another directory, so that a relative QZD_DIR and run must be kept apart from the outputs'
    // directory.
    if (has_offsets) environment = {"QZD_DIR=run"};
    arguments.insert(arguments.begin(), {"-o", "made/outputs"});
    const program_result result = convert(arguments, environment);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.err, "");
    std::map<std::string, std::string> written = files_in("made/outputs");
    for (const auto& [name, bytes] : written) {
      EXPECT_NE(result.out.find("  " + name + " "), std::string::npos) << result.out;
      EXPECT_NE(result.out.find(" " + std::to_string(bytes.size()) + "\n"), std::string::npos) << result.out;
    }
    if (has_offsets) written["zup_result.csv"] = read_file(offsets);
    EXPECT_EQ(written, files);
    EXPECT_EQ(result.out.find("QZD_DIR is not set") == std::string::npos, has_offsets);
    for (const auto* const name : {"expected", "made", "run/zup_result.csv"})
      fs::remove_all(directory_ / name);
  }
}

TEST_F(kzr_convert, tells_what_is_odd_and_lets_nothing_else_through) {
  const std::string task_begin = recorded()
                                     .domain(1, "pwl")
                                     .string_handle(3, "graph")
                                     .task_group(1, graph, {}, 3)
                                     .task_begin(1, graph, {}, 3, 0)
                                     .end()
                                     .take();
  write_run({task_begin, "",
             "<trace version=\"0\" ts_frequency=\"1000\" hardware_concurrency=\"4\">" +
                 std::string("<record><r>api_version</r><t>1</t><l>1</l><v>") + std::string(100'000, 'x') +
                 "</v></record></trace>"});
  const program_result result = convert({"run"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.err, "");
  const std::string start =
      "run/_kzr: 4 problems\n  _kzr.1: empty\n  _kzr.2: without end record\n"
      "  _kzr.2: 1 text too long and cut\n  thread 0: 1 task without end\n\n"
      "Written to the working directory\n";
  EXPECT_EQ(result.out.substr(0, start.size()), start);
}

TEST_F(kzr_convert, tells_where_and_why_the_converter_ends) {
  struct {
    std::string file;
    std::string reason;
    bool has_timeline;
  } const cases[] = {
      {recorded().wide_string_handle(4, u"w").end().take(),
       "reading the records: Wide character strings not yet supported", true},
      {"<traces/>", "opening the trace files: XML trace file does not have trace tag", false},
      {"Zup", "writing the timeline: no trace file can be used", true},
  };
  for (const auto& [file, reason, has_timeline] : cases) {
    SCOPED_TRACE(reason);
    write_run({file});
    const program_result result = convert({"run", "-o", "outputs"});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err, "kzr: the conversion ended while " + reason + '\n' +
                              (has_timeline ? "kzr: unknown.traceml is not complete\n" : ""));
    EXPECT_EQ(fs::exists(directory_ / "outputs/unknown.traceml"), has_timeline);
    fs::remove_all(directory_ / "outputs");
  }
}

TEST_F(kzr_convert, names_outputs_that_could_not_be_written) {
  const strings environment = {"QZD_DIR=run"};
  for (const std::string name : {"unknown.traceml", "unknown.graphml", "unknown_sg0.graphml"}) {
    for (const bool is_full : {true, false}) {
      SCOPED_TRACE(name);
      fs::create_directory(directory_ / "outputs");
      if (is_full) fs::create_symlink("/dev/full", directory_ / "outputs" / name);
      if (!is_full) fs::create_directory(directory_ / "outputs" / name);
      const program_result result = convert({"-o", "outputs"}, environment);
      EXPECT_EQ(result.exit_status, 2);
      EXPECT_EQ(result.err, "kzr: " + name + " could not be written, or not all of it\n");
      EXPECT_EQ(result.out.find("  " + name + ' '), std::string::npos);
      fs::remove_all(directory_ / "outputs");
    }
  }
  fs::remove(directory_ / "run/zup_result.csv");
  fs::create_directory(directory_ / "run/zup_result.csv");
  EXPECT_EQ(convert({}, environment).err, "kzr: run/zup_result.csv could not be written, or not all of it\n");
}

TEST_F(kzr_convert, refuses_wrong_usage_and_writes_nothing) {
  write_file(directory_ / "file", "");
  struct {
    strings arguments;
    std::string message;
  } const cases[] = {
      {{"--name", "a/b"}, "kzr: --name: "},
      {{"--name", ""}, "kzr: --name: "},
      {{"--name", "a\"b"}, "kzr: --name: "},
      {{"-o", ""}, "kzr: --output: "},
      {{"-o", "file/outputs"}, "kzr: file/outputs cannot be used: "},
      {{"--omp_experimentl"}, "kzr: there is no option \"--omp_experimentl\"; did you mean"},
      {{"-o", "outputs", "nowhere"}, "kzr: there is neither a directory nowhere nor"},
      {{"run", "run"}, "kzr: one argument too many"},
  };
  for (auto [arguments, message] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const program_result result = convert(arguments, {"QZD_DIR=run"});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.substr(0, message.size()), message) << result.err;
  }
  EXPECT_EQ(files_in(".").size(), 4U);
}

}  // namespace
