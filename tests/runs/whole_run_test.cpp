#include <gtest/gtest.h>

#include <string>

#include "support/golden.h"
#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace {

using kzr::object_id;
using kzr::relation_code;

constexpr std::uint64_t flow = 1;
constexpr object_id nothing{};
constexpr object_id graph{10, 0, 0};

/// Converts trace files in a directory of their own, which is also its results directory.
class whole_run : public testing::Test {
 protected:
  void expect_run(const char* case_name, const std::vector<std::string>& files, const char* messages) {
    for (std::size_t n = 0; n < files.size(); ++n) {
      write_file(directory_ / ("_kzr." + std::to_string(n)), files[n]);
    }
    const program_result result = run_kzr2xml({"run"}, directory_.path(), environment_);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, messages);
    expect_golden(case_name, directory_.path());
  }

  scratch_directory directory_;
  std::vector<std::string> environment_;
};

// Every kind of record that a flow graph makes, with a change of a node's kind, an edge that goes away and a
// task that does not end.
TEST_F(whole_run, of_a_flow_graph) {
  constexpr object_id source{20, 0, 0};
  constexpr object_id function{30, 0, 0};
  constexpr object_id join{40, 0, 0};
  constexpr object_id body{31, 0, 0};
  constexpr object_id source_out{20, 1, 0};
  constexpr object_id function_in{30, 1, 0};
  constexpr object_id function_out{30, 2, 0};
  constexpr object_id join_in0{40, 1, 0};
  constexpr object_id join_in1{40, 2, 0};
  kzr::trace_encoder file = recorded();
  file.definition(1, "begin", 2, 3).api_version("v1").domain(flow, "pwl.flow").wide_domain(2, u"x");
  file.string_handle(10, "graph").string_handle(11, "all::node::pwl::source_node");
  file.string_handle(12, "all::node::pwl::function_node").string_handle(13, "join_node (queueing)");
  file.string_handle(14, "input_port0").string_handle(15, "output_port0");
  file.string_handle(16, "object_name").string_handle(17, "code_address");
  file.string_handle(18, "queue_node").string_handle(19, "input_port1").at(1000).id_create(flow, graph);
  file.task_group(flow, graph, nothing, 10).task_group(flow, source, graph, 11);
  file.task_group(flow, function, graph, 12).task_group(flow, join, graph, 13);
  file.task_group(flow, source_out, source, 15).task_group(flow, function_in, function, 14);
  file.task_group(flow, function_out, function, 15).task_group(flow, join_in0, join, 14);
  file.task_group(flow, join_in1, join, 19).metadata_string(flow, source, 16, "src");
  file.relation(flow, body, relation_code::is_child_of, function);
  file.relation(flow, source_out, relation_code::makes_edge_to, function_in);
  file.relation(flow, function_out, relation_code::makes_edge_to, join_in0);
  file.relation(flow, source_out, relation_code::makes_edge_to, join_in1);
  file.metadata(flow, function, 17, kzr::value_type::u64, 1, 5000);
  file.wide_metadata_string(flow, join, 16, u"wide").task_begin(flow, body, function, 12, 2);
  file.task_group(flow, {30, 5, 0}, graph, 18).task_end(flow);
  file.relation(flow, source_out, relation_code::removes_edge_to, join_in1);
  file.metadata_string(flow, {77, 0, 0}, 16, "checkpoint").region_begin(flow, function, graph, 12);
  file.region_end(flow, function).task_begin(flow, source_out, source, 15, 0).id_destroy(flow, graph);
  file.end();
  expect_run("flow_graph", {file.take()}, "WARNING: adding extra task_end to complete open task in _kzr.0\n");
}

// Code addresses of seven nodes: in an image that moves and in one that does not, in none (the offset before
// stays), in an image that was loaded meanwhile, as a 32-bit number; none at all; and under another key.
TEST_F(whole_run, with_a_list_of_images) {
  environment_ = {"QZD_DIR=."};
  write_file(directory_ / "imageload.csv",
             "late.so,4096,8191,2000,1\r\na.so,4096,8191,0,1\nshort,1\nmain,8192,9000,0,0\n");
  kzr::trace_encoder file = recorded();
  file.domain(flow, "pwl")
      .string_handle(10, "graph")
      .string_handle(11, "node")
      .string_handle(17, "code_address");
  file.task_group(flow, graph, nothing, 10);
  for (std::uint64_t d1 = 20; d1 < 27; ++d1) file.task_group(flow, {d1, 0, 0}, graph, 11);
  const auto address = [&file](std::uint64_t d1, kzr::value_type type, std::uint64_t count,
                               std::uint64_t value) {
    file.metadata(flow, {d1, 0, 0}, 17, type, count, value);
  };
  file.at(1999);
  address(20, kzr::value_type::u64, 1, 5000);
  address(21, kzr::value_type::u64, 1, 8192);
  address(22, kzr::value_type::u64, 1, 9001);
  address(23, kzr::value_type::u64, 1, 5001);
  address(24, kzr::value_type::u32, 1, 8191);
  address(25, kzr::value_type::u64, 2, 5000);
  file.metadata(flow, {26, 0, 0}, 11, kzr::value_type::u64, 1, 5000);
  address(99, kzr::value_type::u64, 1, 5002);
  expect_run("images", {file.end().take()}, "");
}

// Five threads, three of which run a task at the very same time; the fourth one's file is cut off. The fifth
// makes but a port and what is dropped, and so is not listed among the threads.
TEST_F(whole_run, of_threads_with_equal_times) {
  const auto task = [](kzr::trace_encoder& file, std::uint64_t core) {
    return file.at(10)
        .task_begin(flow, {20, 0, 0}, graph, 11, core)
        .at(10)
        .task_end(flow)
        .at(10)
        .end()
        .take();
  };
  kzr::trace_encoder first = recorded();
  first.domain(flow, "pwl.algorithm").string_handle(10, "graph").string_handle(11, "node");
  first.task_group(flow, graph, nothing, 10).task_group(flow, {20, 0, 0}, graph, 11);
  kzr::trace_encoder second(kzr::trace_form::binary, 50, 8);
  kzr::trace_encoder third = recorded();
  kzr::trace_encoder fourth = recorded();
  fourth.at(20).task_begin(flow, {20, 0, 0}, graph, 11, 7).task_begin(flow, {20, 0, 0}, graph, 11, 3);
  kzr::trace_encoder fifth = recorded();
  fifth.at(9).string_handle(12, "input_port0").task_group(flow, {21, 0, 0}, {20, 0, 0}, 12);
  fifth.task_group(flow, {22, 0, 0}, {99, 0, 0}, 11);
  expect_run("threads",
             {task(first, 12), task(second, 7), task(third, 3), fourth.task_end(flow).take().substr(0, 180),
              fifth.end().take()},
             "WARNING: adding extra task_end to complete open task in _kzr.3\n"
             "WARNING: adding extra task_end to complete open task in _kzr.3\n");
}

// Keys that are registered again take new ids. Nodes go by name, which puts 10 before 2, and edges by number;
// the first edge was made again.
TEST_F(whole_run, of_many_keys_and_names) {
  kzr::trace_encoder file = recorded();
  file.domain(flow, "pwl.flow").domain(2, "pwl").string_handle(10, "graph");
  file.string_handle(11, "composite_node").string_handle(12, "opencl_node");
  file.string_handle(13, "composite_node").string_handle(14, "opencl_node");
  file.string_handle(20, "join_node (queueing)").string_handle(21, "join_node (reserving)");
  file.string_handle(22, "join_node (tag_matching)").string_handle(23, "join_node (key_matching)");
  file.string_handle(24, "object_name").string_handle(25, "output_port-").string_handle(26, "input_port");
  file.string_handle(27, "node").task_group(flow, graph, nothing, 10);
  const auto node = [](std::uint64_t n) { return object_id{100 + n, 0, 0}; };
  for (std::uint64_t n = 0; n < 12; ++n) file.task_group(flow, node(n), graph, n < 4 ? 20 + n : 27);
  constexpr object_id out{50, 1, 0};
  constexpr object_id in{51, 1, 0};
  constexpr object_id other_in{51, 2, 0};
  file.task_group(flow, out, node(0), 25)
      .task_group(flow, in, node(11), 26)
      .task_group(flow, other_in, node(1), 26);
  file.metadata_string(flow, node(4), 24, "first name").metadata_string(flow, node(4), 27, "a remark");
  file.metadata_string(flow, node(4), 24, "a <name>").relation(flow, out, relation_code::makes_edge_to, in);
  file.relation(flow, out, relation_code::makes_edge_to, other_in);
  file.relation(flow, out, relation_code::makes_edge_to, in);
  expect_run("keys_and_names", {file.end().take()}, "");
}

TEST_F(whole_run, without_records) { expect_run("empty", {recorded().end().take()}, ""); }

}  // namespace
