#include "processor/kzr_record_processor.h"

#include <gtest/gtest.h>

#include "reader/multifile_reader.h"
#include "support/golden.h"
#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace {

using kzr::object_id;
using kzr::relation_code;

// Handles of domains and texts, and objects.
enum domain : std::uint8_t { flow = 1, omp, foreign };
enum text : std::uint8_t { graph = 10, node, input, output, composite, name, queue };
constexpr object_id nothing{};
constexpr object_id g{1, 0, 0};
constexpr object_id a{2, 0, 0};
constexpr object_id b{3, 0, 0};
constexpr object_id a_out{2, 1, 0};
constexpr object_id b_in{3, 1, 0};
constexpr object_id c{4, 0, 0};
constexpr object_id unknown{99, 0, 0};

/// Two nodes with a port each, then from 200 on whatever can be odd about records.
std::string odd_records() {
  kzr::trace_encoder file = recorded();
  file.domain(flow, "pwl.flow").domain(omp, "openmp").domain(foreign, "other");
  file.string_handle(graph, "graph").string_handle(node, "node").string_handle(input, "input_port0");
  file.string_handle(output, "output_port0").string_handle(composite, "composite_node");
  file.string_handle(name, "object_name").string_handle(queue, "queue_node").at(100);
  file.task_group(flow, g, nothing, graph).task_group(flow, a, g, node).task_group(flow, b, g, node);
  file.task_group(flow, a_out, a, output).task_group(flow, b_in, b, input).at(200);
  // 200: records that say nothing
  file.definition(1, "d", 2, 3).api_version("v").id_create(flow, a).id_destroy(flow, a);
  // 204: domains that are not known
  file.task_group(foreign, c, g, node).relation(9, a_out, relation_code::makes_edge_to, b_in);
  file.task_begin(foreign, a, g, node, 1).metadata_string(foreign, unknown, name, "text");
  file.region_begin(9, a, g, node).region_end(foreign, a).task_end(9);
  // 211: an edge made, made again, removed, removed again; then edges between what are no ports
  file.relation(flow, a_out, relation_code::makes_edge_to, b_in);
  file.relation(flow, a_out, relation_code::makes_edge_to, b_in);
  file.relation(flow, a_out, relation_code::removes_edge_to, b_in);
  file.relation(flow, a_out, relation_code::removes_edge_to, b_in);
  file.relation(flow, a_out, relation_code::makes_edge_to, unknown);
  file.relation(flow, a, relation_code::makes_edge_to, b_in);
  file.relation(flow, unknown, relation_code::removes_edge_to, b_in);
  // 218: relations without meaning
  for (const int code : {0, 1, 4, 6, 135}) file.relation(flow, a_out, static_cast<relation_code>(code), b_in);
  file.relation(omp, a_out, relation_code::makes_edge_to, b_in);
  file.relation(omp, c, relation_code::is_child_of, a);
  // 225: parents that cannot be, and objects without a place
  file.relation(flow, a, relation_code::is_child_of, b).relation(flow, c, relation_code::is_child_of, g);
  file.relation(flow, c, relation_code::is_child_of, unknown)
      .relation(flow, a, relation_code::is_parent_of, b);
  file.task_group(flow, c, unknown, input).task_group(flow, c, g, output).task_group(flow, c, a, node);
  file.task_group(flow, c, unknown, node).wide_metadata_string(flow, a, name, u"w");
  // 234: a kind that changes, and one that cannot
  file.task_group(flow, {2, 7, 7}, g, queue).task_group(flow, {8, 0, 0}, g, queue);
  // 236: tasks of a body, a port, a node, a graph and nothing known, and an end too many
  file.relation(flow, {5, 0, 0}, relation_code::is_child_of, b).task_begin(flow, {5, 0, 0}, nothing, node, 5);
  file.task_begin(flow, a_out, nothing, output, 6).task_begin(flow, a, g, 77, 7);
  file.task_begin(flow, g, nothing, 0, 18446744073709551615u).task_begin(flow, unknown, a, input, 8);
  for (int i = 0; i < 6; ++i) file.task_end(flow);
  // 248: an end in the domain of OpenMP, which counts twice, and a task there that is not known
  file.task_begin(flow, a, g, node, 1).task_begin(omp, unknown, nothing, node, 1);
  file.task_begin(omp, b, g, node, 1).task_end(omp);
  // 252: regions, one begun twice, one begun before its node is known, some not begun
  file.region_begin(flow, a, g, node)
      .region_begin(flow, unknown, nothing, node)
      .region_begin(flow, unknown, g, node);
  file.region_begin(flow, {6, 0, 0}, nothing, node).task_group(flow, {6, 0, 0}, g, node);
  file.region_end(flow, a).region_end(flow, unknown).region_end(flow, {6, 0, 0}).region_end(flow, {6, 0, 0});
  file.region_end(flow, b).region_end(flow, unknown);
  // 263: a hidden node of a top-level graph, which has no graph above that could answer for it
  constexpr object_id parent{9, 0, 0};
  constexpr object_id hidden{21, 0, 0};
  constexpr object_id shown{22, 0, 0};
  file.task_group(flow, parent, g, composite).task_group(flow, hidden, g, node);
  file.relation(flow, hidden, relation_code::is_child_of, parent)
      .task_group(flow, {21, 1, 0}, hidden, output);
  file.relation(flow, {21, 1, 0}, relation_code::makes_edge_to, b_in).task_group(flow, {21, 7, 7}, g, queue);
  file.region_begin(flow, hidden, nothing, node).task_begin(flow, hidden, g, node, 1).task_end(flow);
  // 272: a node that is hidden and shown again
  file.task_group(flow, shown, g, node).relation(flow, shown, relation_code::is_child_of, parent);
  file.relation(flow, parent, relation_code::is_parent_of, shown);
  file.relation(flow, parent, relation_code::is_parent_of, g);
  // 276: user events, the last of which takes over a word
  file.metadata_string(flow, unknown, name, "one & \"two\"").metadata_string(flow, unknown, 0, "");
  file.metadata_string(flow, unknown, name, "graph").task_group(flow, c, g, graph);
  // 280: a domain that changes its name, which counts for all tasks
  return file.domain(flow, "pwl").end().take();
}

TEST(kzr_record_processor, turns_odd_records_into_events) {
  const scratch_directory directory;
  write_file(directory / "_kzr.0", odd_records());
  EXPECT_EQ(run_kzr2xml({"run"}, directory.path()).err, "");
  expect_golden("odd_records", directory.path());
}

TEST(kzr_record_processor, counts_what_it_could_not_use) {
  const scratch_directory directory;
  write_file(directory / "_kzr.0", odd_records());
  multifile_reader reader(directory / "_kzr");
  kzr_record_processor processor("no such directory/run", "1", "1", 0);
  trace_record record;
  while (reader.next_record(record)) processor.process_record(record);
  EXPECT_EQ(processor.data_manager().warnings(),
            (std::map<std::string, std::uint64_t, std::less<>>{
                {"Node has a parent that is not a graph, dropping node.", 2},
                {"Port has unregistered parent node, dropping port.", 2},
                {"Port not found, dropping edge.", 2},
                {"Port not found, failed to remove edge.", 1},
                {"Transforming basic node failed: Fallback creating new node!", 1},
                {"Unexpected child type in is_parent_of relation, relation ignored.", 1},
                {"Unexpected parent type in is_child_of relation, relation ignored.", 3},
                {"Unexpected parent type in is_parent_of relation, relation ignored.", 1},
                {"Unexpected wide string meta data, ignored.", 1}}));
}

TEST(kzr_record_processor_death_test, takes_bad_records_but_no_unknown_kinds_and_wide_handles) {
  kzr_record_processor processor("no such directory/run", "1", "1", 0);
  const auto process = [&processor](record_kind kind) {
    trace_record record;
    record.kind = kind;
    record.string = "x";
    processor.process_record(record);
  };
  process(record_kind::bad_record);
  process(record_kind::bad_record);
  EXPECT_EQ(processor.data_manager().warnings().at("x"), 2u);
  EXPECT_DEATH(process(static_cast<record_kind>(19)), "^Unknown record type in trace file\n");
  EXPECT_DEATH(process(static_cast<record_kind>(-1)), "^Unknown record type in trace file\n");
  EXPECT_DEATH(process(record_kind::string_handle_create_w), "^Wide character strings not yet supported\n");
}

}  // namespace
