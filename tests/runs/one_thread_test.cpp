#include <gtest/gtest.h>

#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace {

constexpr std::uint64_t flow = 1;
constexpr kzr::object_id graph{1, 0, 0};

/// A run whose model and timeline are large enough for whatever large runs do otherwise.
std::string large_run() {
  constexpr std::uint64_t nodes = 20'000;
  kzr::trace_encoder file = recorded();
  file.domain(flow, "pwl.flow").string_handle(1, "graph").string_handle(2, "composite_node");
  file.task_group(flow, graph, {}, 1);
  for (std::uint64_t i = 0; i < nodes; ++i) {
    file.task_group(flow, {100 + i, 0, 0}, graph, i % 100 == 0 ? 2 : 3);
    file.task_begin(flow, {100 + i, 0, 0}, graph, 3, 0).task_end(flow);
  }
  return file.end().take();
}

TEST(one_thread, does_everything_from_start_to_exit) {
  const scratch_directory scratch;
  write_file(scratch / "_kzr.0", large_run());
  // The leak checker of a sanitized program would start a process of its own at the end.
  const program_result result =
      run_program({"/usr/bin/env", "ASAN_OPTIONS=detect_leaks=0", "strace", "-f", "-qq", "-e",
                   "trace=clone,clone3,fork,vfork", "-o", "started", KZR2XML_PROGRAM, "run"},
                  scratch.path());
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(read_file(scratch / "started"), "");
  EXPECT_NE(read_file(scratch / "run.traceml").find("</traceml>"), std::string::npos);
}

}  // namespace
