// Runs of the OpenMP domain, with and without the sub-graph paths.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "support/golden.h"
#include "support/recorded.h"
#include "support/run_model.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace {

using kzr::object_id;
using kzr::relation_code;
using kzr::trace_encoder;
using kzr::trace_form;
using kzr::value_type;

constexpr std::uint64_t openmp = 1;
// String handles: the words in their order.
enum : std::uint64_t { graph = 10, composite, node, parallel, implicit, explicit_task, barrier, object_name };
enum : std::uint64_t { code_address = object_name + 1, input_0, output_0 };
constexpr const char* words[] = {"graph",        "composite_node", "node",        "omp_parallel",
                                 "omp_implicit", "omp_explicit",   "omp_barrier", "object_name",
                                 "code_address", "input_port0",    "output_port0"};
// The graph (zeros are as good as any identifier), a region in it with the node that stands for it, and the
// region's implicit tasks.
constexpr object_id top = {}, region = {2, 0, 0}, region_node = {2, 1, 0};
constexpr object_id implicit_0 = {2, 2, 0}, implicit_1 = {2, 3, 0};

/// The words and, from time 100, the region with its first implicit task.
trace_encoder recorded_region(trace_form form) {
  trace_encoder file = recorded(form);
  file.domain(openmp, "openmp");
  for (std::uint64_t i = 0; i < std::size(words); ++i) file.string_handle(graph + i, words[i]);
  file.at(100)
      .task_group(openmp, top, {}, graph)
      .task_group(openmp, region, {}, parallel)
      .task_group(openmp, region_node, top, composite)
      .task_group(openmp, implicit_0, region, implicit);
  return file;
}

std::vector<std::string> region_on_two_threads(trace_form form) {
  trace_encoder first = recorded_region(form);
  first.metadata_string(openmp, region_node, object_name, "sum");
  first.task_group(openmp, implicit_1, region, implicit);
  first.region_begin(openmp, region_node, top, parallel).task_begin(openmp, region, {}, parallel, 0);
  first.at(110).task_begin(openmp, implicit_0, region, implicit, 0);
  first.at(120).task_begin(openmp, implicit_0, region, barrier, 0);
  first.at(130).task_end(openmp).task_end(openmp);
  first.at(140).task_end(openmp).region_end(openmp, region_node).end();
  trace_encoder second = recorded(form);
  second.at(112).task_begin(openmp, implicit_1, region, implicit, 1);
  second.at(118).task_begin(openmp, implicit_1, region, barrier, 1);
  second.at(132).task_end(openmp).task_end(openmp).end();
  return {first.take(), second.take()};
}

/// Two variables: tasks 10 and 14 write the first one, 11 to 15 read it; 14 writes the second for 15.
std::vector<std::string> tasks_with_dependences(trace_form form) {
  constexpr object_id data = {7, 0, 0}, other_data = {8, 0, 0}, no_task = {99, 0, 0}, no_node = {16, 0, 0};
  constexpr auto access = relation_code::makes_edge_to;
  const auto task = [](std::uint64_t number) { return object_id{number, 0, 0}; };
  const auto node_of = [](std::uint64_t number) { return object_id{number, 1, 0}; };
  trace_encoder first = recorded_region(form);
  first.metadata(openmp, region_node, code_address, value_type::u64, 1, 5000);
  first.at(111).task_begin(openmp, region, {}, parallel, 0);
  first.task_begin(openmp, implicit_0, region, implicit, 0);
  first.relation(openmp, no_node, relation_code::is_child_of, implicit_0);
  for (std::uint64_t number = 10; number <= 15; ++number) {
    first.at(number * 10 + 20).relation(openmp, task(number), relation_code::is_child_of, implicit_0);
    first.task_group(openmp, node_of(number), implicit_0, node);
    if (number == 10) {
      first.metadata(openmp, task(10), code_address, value_type::u64, 1, 4200);
    } else {
      first.relation(openmp, data, access, node_of(number));
    }
    if (number == 10 || number == 14) first.relation(openmp, node_of(number), access, data);
  }
  first.relation(openmp, data, access, node_of(14));        // 15 has
  first.relation(openmp, other_data, access, node_of(15));  // nobody wrote it
  first.relation(openmp, node_of(14), access, other_data).relation(openmp, other_data, access, node_of(15));
  first.at(190).task_begin(openmp, task(10), implicit_0, explicit_task, 0).task_end(openmp);
  first.at(209).region_end(openmp, {77, 0, 0});  // never begun
  first.task_end(openmp).task_end(openmp).end();
  trace_encoder second = recorded(form);
  second.at(200);
  for (const object_id& begun : {task(11), no_task, no_node}) {
    second.task_begin(openmp, begun, implicit_0, explicit_task, 1).task_end(openmp);
  }
  return {first.take(), second.end().take()};
}

std::vector<std::string> nested_region(trace_form form) {
  constexpr object_id inner = {3, 0, 0}, inner_node = {3, 1, 0}, inner_0 = {3, 2, 0}, inner_1 = {3, 3, 0};
  constexpr object_id task_node = {10, 1, 0}, unknown = {50, 0, 0};
  trace_encoder first = recorded_region(form);
  first.task_group(openmp, {30, 0, 0}, region_node, input_0);
  first.at(110).task_begin(openmp, region, {}, parallel, 0);
  first.task_begin(openmp, implicit_0, region, implicit, 0);
  first.at(120).task_group(openmp, inner, region, parallel);
  first.task_group(openmp, inner_node, implicit_0, composite);
  first.task_group(openmp, inner_0, inner, implicit).task_group(openmp, inner_1, inner, implicit);
  first.task_group(openmp, {31, 0, 0}, inner_node, input_0).task_group(openmp, task_node, inner_0, node);
  first.task_group(openmp, {32, 0, 0}, task_node, input_0);
  first.task_group(openmp, {33, 0, 0}, task_node, output_0);  // the region has no such port
  first.at(130).region_begin(openmp, inner_node, implicit_0, parallel);
  first.task_begin(openmp, inner, region, parallel, 0).task_begin(openmp, inner_0, inner, implicit, 0);
  first.at(140).task_end(openmp).task_end(openmp).region_end(openmp, inner_node);
  first.at(150).task_end(openmp).task_end(openmp).end();
  trace_encoder second = recorded(form);
  second.at(133).task_begin(openmp, inner_1, inner, implicit, 1);
  second.task_begin(openmp, unknown, inner, barrier, 1).task_end(openmp).task_end(openmp).end();
  return {first.take(), second.take()};
}

class openmp_documents : public golden_run {
 protected:
  void expect_run(const char* case_name, const std::vector<std::string>& files,
                  const std::vector<std::string>& arguments) {
    write_traces(files);
    write_file(directory_ / "imageload.csv", "app,4096,8191,0,1\n");
    const program_result result =
        run_kzr2xml(arguments, directory_.path(), {"QZD_DIR=" + directory_.path().string()});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.err, "");
    expect_golden(case_name);
  }
};
KZR_IN_BOTH_FORMS(openmp_documents);

TEST_P(openmp_documents, of_a_region_with_the_option) {
  expect_run("omp_region", region_on_two_threads(GetParam()), {"run", "--omp_experimental"});
}
TEST_P(openmp_documents, of_a_region) {
  expect_run("omp_region_plain", region_on_two_threads(GetParam()), {"run"});
}
TEST_P(openmp_documents, of_tasks_with_the_option) {
  expect_run("omp_tasks", tasks_with_dependences(GetParam()), {"--omp_experimental", "run"});
}
TEST_P(openmp_documents, of_tasks) {
  expect_run("omp_tasks_plain", tasks_with_dependences(GetParam()), {"run"});
}
TEST_P(openmp_documents, of_a_nested_region_with_the_option) {
  expect_run("omp_nested", nested_region(GetParam()), {".", "run", "7"});
}
TEST_P(openmp_documents, of_a_nested_region) {
  expect_run("omp_nested_plain", nested_region(GetParam()), {".", "run", "0"});
}

// The second words of identifiers, by what these are of.
enum : std::uint64_t { a_region, a_node, a_task, a_graph, a_data, a_output = 35, a_input = 37 };
/// Two second words, and a handle or code.
struct shape {
  std::uint64_t first, second, value;
};
constexpr shape groups[] = {
    {a_graph, a_graph, graph},   {a_node, a_graph, composite},   {a_node, a_node, composite},
    {a_node, a_task, composite}, {a_node, a_graph, node},        {a_node, a_node, node},
    {a_node, a_task, node},      {a_region, a_region, parallel}, {a_task, a_region, implicit},
    {a_input, a_node, input_0},  {a_output, a_node, output_0}};
constexpr shape relations[] = {{a_region, a_task, 5},  {a_node, a_node, 5}, {a_node, a_input, 3},
                               {a_node, a_output, 3},  {a_node, a_node, 3}, {a_output, a_input, 7},
                               {a_output, a_input, 2}, {a_node, a_data, 7}, {a_data, a_node, 7}};
constexpr shape begins[] = {{a_region, a_region, parallel},
                            {a_task, a_region, implicit},
                            {a_task, a_region, barrier},
                            {a_region, a_task, explicit_task}};

/// Random records on few identifiers, so that they meet all the time. Most fit together: the second word of
/// an identifier then says what it is of. Others have any identifier or handle.
class random_records {
 public:
  explicit random_records(unsigned seed) : random_(seed) {
    for (std::uint64_t i = 0; i < std::size(words); ++i) file_.string_handle(graph + i, words[i]);
    for (int i = 0; i < 8; ++i) add_text();
    file_.domain(1, "openmp").domain(2, "pwl.flow");
  }

  std::string make(int count) {
    for (int i = 0; i < count; ++i) add_record();
    return file_.end().take();
  }

 private:
  static constexpr std::array more_words = {
      "opencl_node",    "queue_node",      "split_node", "priority_queue_node",
      "sequencer_node", "write_once_node", "async_node", "omp_p",
      "omp_i",          "input_port1",     "",           "pwl_flow_graph"};

  std::uint64_t below(std::uint64_t limit) { return random_() % limit; }
  object_id id(std::uint64_t word) {
    const std::uint64_t first = below(5);
    return {first, below(10) == 0 ? groups[below(std::size(groups))].first : word, 0};
  }
  /// Now and then any handle, known or not, or the number that stands for none.
  std::uint64_t handle(std::uint64_t usual) {
    if (below(10) != 0) return usual;
    return below(4) == 0 ? ~std::uint64_t{0} : below(graph + std::size(words) + 2);
  }
  /// Gives a word to a handle below those of the usual words, or now and then to one of these.
  void add_text() {
    const std::uint64_t named = below(20) == 0 ? graph + below(std::size(words)) : below(graph);
    file_.string_handle(named, more_words[below(more_words.size())]);
  }

  void add_record() {
    const std::uint64_t domain = below(30) == 0 ? 3 : 1 + below(5) / 4;
    if (below(200) == 0) add_text();
    if (below(9) == 0) return void(file_.task_end(domain));
    if (below(9) == 0) return void(file_.metadata_string(domain, id(a_node), handle(object_name), "text"));
    const std::uint64_t list = below(8);
    const shape& usual = list < 3   ? groups[below(std::size(groups))]
                         : list < 6 ? relations[below(std::size(relations))]
                                    : begins[below(std::size(begins))];
    const object_id first = id(usual.first), second = id(usual.second);
    const std::uint64_t value = handle(usual.value);
    if (list < 3) {
      file_.task_group(domain, first, second, value);
    } else if (list < 6) {
      file_.relation(domain, first, static_cast<relation_code>(value), second);
    } else if (list == 6) {
      file_.task_begin(domain, first, second, value, below(4));
    } else {
      file_.region_begin(domain, first, second, value).region_end(domain, id(usual.first));
    }
  }

  std::mt19937 random_;
  trace_encoder file_ = recorded();
};

TEST(openmp_runs, end_well_whatever_the_records_say) {
  const scratch_directory scratch;
  std::streambuf* const messages = std::cerr.rdbuf(nullptr);  // of tasks that nobody ended
  for (unsigned seed = 0; seed < 100; ++seed) {
    SCOPED_TRACE(seed);
    write_file(scratch / "_kzr.0", random_records(seed).make(400));
    write_file(scratch / "_kzr.1", random_records(~seed).make(100));
    run_model run(scratch / "_kzr", seed % 4 != 0);
    run.complete();
    run.write_timeline(scratch / "run.traceml");
    EXPECT_TRUE(read_file(scratch / "run.traceml").ends_with("</traceml>\n"));
  }
  std::cerr.rdbuf(messages);
}

}  // namespace
