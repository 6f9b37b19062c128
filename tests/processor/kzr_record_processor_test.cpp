#include "processor/kzr_record_processor.h"

#include <gtest/gtest.h>

#include "support/golden.h"
#include "support/run_model.h"
#include "support/run_program.h"

namespace {

using kzr::object_id;
using kzr::relation_code;

// Handles of domains and texts, and objects.
enum domain : std::uint8_t { flow = 1, omp, foreign };
enum text : std::uint8_t { graph = 10, node, input, output, composite, name, queue };
constexpr object_id nothing{}, g{1, 0, 0}, a{2, 0, 0}, b{3, 0, 0}, a_out{2, 1, 0}, b_in{3, 1, 0}, c{4, 0, 0},
    unknown{99, 0, 0};

/// Two nodes with a port each, then from 200 on whatever can be odd about records.
std::string odd_records(kzr::trace_form form) {
  kzr::trace_encoder file = recorded(form);
  file.domain(flow, "pwl.flow").domain(omp, "openmp").domain(foreign, "other");
  file.string_handle(graph, "graph").string_handle(node, "node").string_handle(input, "input_port0");
  file.string_handle(output, "output_port0").string_handle(composite, "composite_node");
  file.string_handle(name, "object_name").string_handle(queue, "queue_node");
  file.at(100).task_group(flow, g, nothing, graph).task_group(flow, a, g, node).task_group(flow, b, g, node);
  file.task_group(flow, a_out, a, output).task_group(flow, b_in, b, input);
  // Records that say nothing.
  file.at(200).definition(1, "d", 2, 3).api_version("v").id_create(flow, a).id_destroy(flow, a);
  // Domains that are not known.
  file.at(204).task_group(foreign, c, g, node).relation(9, a_out, relation_code::makes_edge_to, b_in);
  file.task_begin(foreign, a, g, node, 1).metadata_string(foreign, unknown, name, "text");
  file.region_begin(9, a, g, node).region_end(foreign, a).task_end(9);
  // An edge made, made again, removed, removed again; then edges between what are no ports.
  file.at(211).relation(flow, a_out, relation_code::makes_edge_to, b_in);
  file.at(212).relation(flow, a_out, relation_code::makes_edge_to, b_in);
  file.at(213).relation(flow, a_out, relation_code::removes_edge_to, b_in);
  file.at(214).relation(flow, a_out, relation_code::removes_edge_to, b_in);
  file.at(215).relation(flow, a_out, relation_code::makes_edge_to, unknown);
  file.relation(flow, a, relation_code::makes_edge_to, b_in);
  file.relation(flow, unknown, relation_code::removes_edge_to, b_in);
  // Relations without meaning.
  file.at(218);
  for (const int code : {0, 1, 4, 6, 135}) file.relation(flow, a_out, static_cast<relation_code>(code), b_in);
  file.relation(omp, a_out, relation_code::makes_edge_to, b_in);
  file.relation(omp, c, relation_code::is_child_of, a);
  // Parents that cannot be, and objects without a place.
  file.at(225)
      .relation(flow, a, relation_code::is_child_of, b)
      .relation(flow, c, relation_code::is_child_of, g);
  file.relation(flow, c, relation_code::is_child_of, unknown)
      .relation(flow, a, relation_code::is_parent_of, b);
  file.task_group(flow, c, unknown, input).task_group(flow, c, g, output).task_group(flow, c, a, node);
  file.task_group(flow, c, unknown, node).wide_metadata_string(flow, a, name, u"w");
  // A kind that changes, and one that cannot.
  file.at(234).task_group(flow, {2, 7, 7}, g, queue).at(235).task_group(flow, {8, 0, 0}, g, queue);
  // Tasks of a body, a port, a node, a graph and nothing known, and an end too many.
  file.at(236).relation(flow, {5, 0, 0}, relation_code::is_child_of, b);
  file.at(237).task_begin(flow, {5, 0, 0}, nothing, node, 5);
  file.at(238).task_begin(flow, a_out, nothing, output, 6);
  file.at(239).task_begin(flow, a, g, 77, 7);
  file.at(240).task_begin(flow, g, nothing, 0, 18446744073709551615u);
  file.at(241).task_begin(flow, unknown, a, input, 8);
  for (const std::uint64_t end : {242u, 243u, 244u, 245u, 246u, 247u}) file.at(end).task_end(flow);
  // An end in the domain of OpenMP, which counts twice, and a task there that is not known.
  file.at(248).task_begin(flow, a, g, node, 1).at(249).task_begin(omp, unknown, nothing, node, 1);
  file.at(250).task_begin(omp, b, g, node, 1).at(251).task_end(omp);
  // Regions, one begun twice, one begun before its node is known, some not begun.
  file.at(252).region_begin(flow, a, g, node);
  file.at(253).region_begin(flow, unknown, nothing, node).at(254).region_begin(flow, unknown, g, node);
  file.at(255).region_begin(flow, {6, 0, 0}, nothing, node).at(256).task_group(flow, {6, 0, 0}, g, node);
  file.at(257).region_end(flow, a).at(258).region_end(flow, unknown).at(259).region_end(flow, {6, 0, 0});
  file.at(260).region_end(flow, {6, 0, 0}).at(261).region_end(flow, b).at(262).region_end(flow, unknown);
  // A hidden node of a top-level graph, which has no graph above that could answer for it.
  constexpr object_id parent{9, 0, 0}, hidden{21, 0, 0}, shown{22, 0, 0};
  file.at(263).task_group(flow, parent, g, composite).at(264).task_group(flow, hidden, g, node);
  file.relation(flow, hidden, relation_code::is_child_of, parent)
      .task_group(flow, {21, 1, 0}, hidden, output);
  file.at(267).relation(flow, {21, 1, 0}, relation_code::makes_edge_to, b_in);
  file.at(268).task_group(flow, {21, 7, 7}, g, queue).at(269).region_begin(flow, hidden, nothing, node);
  file.at(270).task_begin(flow, hidden, g, node, 1).at(271).task_end(flow);
  // A node that is hidden and shown again.
  file.at(272).task_group(flow, shown, g, node).relation(flow, shown, relation_code::is_child_of, parent);
  file.relation(flow, parent, relation_code::is_parent_of, shown);
  file.relation(flow, parent, relation_code::is_parent_of, g);
  // User events, the last of which takes over a word.
  file.at(276).metadata_string(flow, unknown, name, "one & \"two\"");
  file.at(277).metadata_string(flow, unknown, 0, "").at(278).metadata_string(flow, unknown, name, "graph");
  file.at(279).task_group(flow, c, g, graph);
  // A domain that changes its name, which counts for all tasks.
  return file.domain(flow, "pwl").end().take();
}

class odd_run : public golden_run {};
KZR_IN_BOTH_FORMS(odd_run);

TEST_P(odd_run, is_told_in_events_as_far_as_it_goes) {
  write_traces({odd_records(GetParam())});
  EXPECT_EQ(run_kzr2xml({"run"}, directory_.path()).err, "");
  expect_golden("odd_records");
}

TEST_P(odd_run, is_counted_where_it_is_of_no_use) {
  write_traces({odd_records(GetParam())});
  run_model run(directory_ / "_kzr");
  EXPECT_EQ(run.model.warnings().counts(),
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
  run.complete();
}

TEST(kzr_record_processor_death_test, takes_bad_records_but_no_unknown_kinds_and_wide_handles) {
  kzr_data_manager model("run");
  image_table images;
  kzr_record_processor processor(model, images, false);
  const auto process = [&processor](record_kind kind) {
    trace_record record;
    record.kind = kind;
    record.string = "x";
    processor.process_record(record);
  };
  process(record_kind::bad_record);
  process(record_kind::bad_record);
  EXPECT_EQ(model.warnings().counts().at("x"), 2u);
  EXPECT_DEATH(process(static_cast<record_kind>(19)), "^Unknown record type in trace file\n");
  EXPECT_DEATH(process(static_cast<record_kind>(-1)), "^Unknown record type in trace file\n");
  EXPECT_DEATH(process(record_kind::string_handle_create_w), "^Wide character strings not yet supported\n");
}

}  // namespace
