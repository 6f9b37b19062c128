#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>

#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace {

constexpr std::uint64_t domain = 1;
constexpr std::uint64_t graph_kind = 2;

/// A run with one graph on which `tasks` tasks begin and end.
std::string trace_of(int tasks) {
  kzr::trace_encoder trace = recorded();
  trace.domain(domain, "pwl.flow").string_handle(graph_kind, "graph").task_group(domain, {1}, {}, graph_kind);
  for (int i = 0; i < tasks; ++i) trace.task_begin(domain, {1}, {}, graph_kind, 0).task_end(domain);
  return trace.end().take();
}

/// The first line that is neither empty nor a whole element, empty when there is none.
std::string find_broken_line(const std::string& document) {
  std::istringstream lines(document);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && (line.front() != '<' || line.back() != '>')) return line;
  }
  return document.empty() || document.back() == '\n' ? "" : "no newline at the end";
}

}  // namespace

TEST(faults, an_output_that_fails_neither_ends_the_run_nor_harms_the_other) {
  const std::string trace = trace_of(20'000);
  const scratch_directory whole;
  write_file(whole / "_kzr.0", trace);
  ASSERT_EQ(run_kzr2xml({"run"}, whole.path()).exit_status, 0);
  for (const char* const failing : {"run.traceml", "run.graphml"}) {
    const std::string other = std::string(failing) == "run.traceml" ? "run.graphml" : "run.traceml";
    for (const bool is_directory : {false, true}) {
      SCOPED_TRACE(std::string(failing) + (is_directory ? " is a directory" : " is on a full disk"));
      const scratch_directory scratch;
      write_file(scratch / "_kzr.0", trace);
      if (is_directory) {
        std::filesystem::create_directory(scratch / failing);
      } else {
        std::filesystem::create_symlink("/dev/full", scratch / failing);
      }
      const program_result result = run_kzr2xml({"run"}, scratch.path());
      EXPECT_EQ(result.exit_status, 0);
      EXPECT_EQ(result.err, "");
      EXPECT_EQ(read_file(scratch / other), read_file(whole / other));
      EXPECT_EQ(read_file(scratch / "_kzr.0"), trace);
    }
  }
}

TEST(faults, a_timeline_that_may_not_grow_ends_with_a_whole_line) {
  const scratch_directory scratch;
  write_file(scratch / "_kzr.0", trace_of(20'000));
  const program_result result =
      run_program({"/bin/sh", "-c", "ulimit -f 800 && exec " KZR2XML_PROGRAM " run"}, scratch.path());
  EXPECT_EQ(result.exit_status, 0);
  const std::string timeline = read_file(scratch / "run.traceml");
  EXPECT_EQ(find_broken_line(timeline), "");
  EXPECT_GT(timeline.size(), 300'000U);
  EXPECT_EQ(timeline.find("</traceml>"), std::string::npos);
}

TEST(faults, more_trace_files_than_may_be_open_leave_room_for_the_outputs) {
  const scratch_directory scratch;
  // Files that do not fit the reader's window stay open.
  for (int n = 0; n < 64; ++n) write_file(scratch / ("_kzr." + std::to_string(n)), trace_of(200));
  const program_result result =
      run_program({"/bin/sh", "-c", "ulimit -n 40 && exec " KZR2XML_PROGRAM " run"}, scratch.path());
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_NE(read_file(scratch / "run.traceml").find("</traceml>"), std::string::npos);
  EXPECT_NE(read_file(scratch / "run.graphml").find("</graphml>"), std::string::npos);
}
