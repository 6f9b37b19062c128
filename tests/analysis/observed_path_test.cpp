#include "analysis/observed_path.h"

#include <gtest/gtest.h>

#include <string>

#include "analysis/lines.h"
#include "analysis/node_links.h"

namespace {

using edges = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

/// The nodes of the path with what is in front of each, as in "0 -5e- 1": a gap of five ticks in an execution
/// around node 1; then what is behind the path.
std::string path_of(const execution_table& executions, const edges& links,
                    const std::vector<std::uint32_t>& composites = {}, const tick_range& range = {}) {
  node_links known(16);
  for (const auto& [source, target] : links) known.add(source, target);
  for (const std::uint32_t node : composites) known.mark_composite(node);
  known.close();
  const observed_path path = find_observed_path(executions, known, range);
  std::string text;
  for (const auto& [execution, kind, ticks] : path.steps) {
    text += '-' + std::to_string(ticks) + std::string(".etdu").substr(static_cast<std::size_t>(kind), 1) +
            "- " + std::to_string(executions.node_of(execution)) + ' ';
  }
  return text + "- " + std::to_string(path.rest_ticks);
}

TEST(observed_path, is_that_of_the_worked_example) {
  const execution_table run =
      executions_of({begin(0, 10, 0), end(0, 20), begin(0, 20, 1), begin(1, 22, 1), begin(0, 25, 2),
                     end(0, 30), end(1, 34), end(0, 40), begin(1, 46, 3), end(1, 50)});
  const edges links = {{0, 1}, {1, 3}};
  EXPECT_EQ(path_of(run, links), "-0.- 0 -2t- 1 -12u- 3 - 0");
  EXPECT_EQ(path_of(run, {}), "-12u- 1 -12d- 3 - 0");
  // Of what is inside the range the inner one ended last but one; what it is in began before the range.
  EXPECT_EQ(path_of(run, links, {}, {.from = 23, .to = 44}), "-2e- 2 - 10");
  EXPECT_EQ(path_of(run, links, {}, {.from = 0, .to = 9}), "- 0");
}

TEST(observed_path, takes_what_ended_last_before_on_the_thread_or_a_node_before) {
  const edges chain = {{0, 1}, {1, 2}};
  const edges circle = {{0, 1}, {1, 0}};
  constexpr auto implicit = execution_kind::implicit_task;
  struct {
    const char* what;
    execution_table run;
    edges links;
    std::vector<std::uint32_t> composites;
    std::string path;
  } const cases[] = {
      {"of several at the same time the line that comes last",
       executions_of({begin(0, 0, 0), begin(1, 0, 1), end(1, 5), end(0, 5), begin(2, 6, 2), end(2, 7)}),
       {{0, 2}, {1, 2}},
       {},
       "-0.- 0 -1t- 2 - 0"},
      {"over a node that did not run and a composite node that did",
       executions_of({begin(1, 0, 0), end(1, 1), begin(2, 1, 4), end(2, 2), begin(0, 4, 5), end(0, 5)}),
       {{0, 3}, {3, 4}, {4, 5}},
       {4},
       "-0.- 0 -0.- 4 -2t- 5 - 0"},
      {"not over a node that ran",
       executions_of({begin(1, 0, 0), end(1, 2), begin(2, 0, 1), end(2, 3), begin(0, 2, 2), end(0, 4)}),
       chain,
       {},
       "-2u- 2 - 0"},
      {"nothing that is not done yet",
       executions_of({begin(1, 0, 1), begin(0, 2, 2), end(1, 3), end(0, 4)}),
       chain,
       {},
       "-2u- 2 - 0"},
      {"none that holds another one, but that in an implicit task",
       executions_of({begin(0, 0, 0, implicit), begin(0, 1, 1), begin(0, 2, 1, implicit), begin(0, 3, 2),
                      end(0, 4), end(0, 5), end(0, 6), end(0, 9)}),
       chain,
       {},
       "-3e- 2 - 5"},
      {"one that holds only an implicit task",
       executions_of({begin(0, 0, 1), begin(0, 1, 0, implicit), end(0, 2), end(0, 3)}),
       {},
       {},
       "-0.- 1 - 0"},
      {"of no length at the begin the one whose line is in front",
       executions_of({begin(1, 5, 0), end(1, 5), begin(0, 5, 1), end(0, 5), begin(1, 5, 0), end(1, 5)}),
       circle,
       {},
       "-0.- 0 -0.- 1 -0.- 0 - 0"},
      {"of no length at the begin none whose end is behind it",
       executions_of({begin(0, 5, 1), begin(1, 5, 0), end(1, 5), end(0, 8)}),
       chain,
       {},
       "-0.- 1 - 0"},
      {"what ended at the begin of one of no length, though its line is behind",
       executions_of({begin(1, 0, 0), begin(0, 5, 1), end(0, 5), end(1, 5), begin(0, 5, 3), end(0, 6)}),
       circle,
       {},
       "-0.- 0 -0.- 1 -0.- 3 - 0"},
  };
  for (const auto& [what, run, links, composites, path] : cases) {
    EXPECT_EQ(path_of(run, links, composites), path) << what;
  }
}

TEST(node_order, knows_what_is_before_what_in_circles_and_behind_hubs) {
  struct {
    edges links;
    std::vector<std::uint32_t> ran;
    std::uint32_t node;
    std::vector<std::uint32_t> before;
  } const cases[] = {
      {{{0, 2}, {1, 2}, {2, 3}, {2, 4}}, {0, 1, 3, 4}, 4, {0, 1}},       // 2 did not run
      {{{0, 1}, {1, 2}, {2, 1}, {2, 3}}, {0, 3}, 3, {0}},                // a circle in between
      {{{1, 2}, {2, 1}}, {0}, 1, {}},                                    // nothing but a circle
      {{{0, 1}, {1, 1}, {1, 1}, {1, 2}}, {0, 1, 2}, 1, {0, 1}},          // an edge to itself
      {{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {5, 3}}, {0, 5, 4}, 4, {0, 5}},  // a chain that another one joins
      {{{0, 1}, {0, 2}, {3, 2}, {1, 4}, {2, 4}, {5, 4}}, {0, 3, 4, 5}, 4, {0, 3, 5}},  // two hubs and an edge
      // Many hubs.
      {{{0, 2}, {1, 3}, {2, 15}, {3, 15}, {4, 15}, {5, 15}, {6, 15}, {7, 15}, {8, 15}, {9, 15}, {10, 15}},
       {0, 1, 15},
       15,
       {0, 1}},
  };
  for (const auto& [links, ran, node, before] : cases) {
    node_links known(16);
    for (const auto& [source, target] : links) known.add(source, target);
    known.close();
    std::vector<bool> has_run(16);
    for (const std::uint32_t each : ran) has_run[each] = true;
    node_order order(known, has_run);
    for (int twice = 0; twice < 2; ++twice) {
      std::vector<std::uint32_t> found;
      for (std::uint32_t other = 0; other < 16; ++other) {
        if (order.is_before(other, node)) found.push_back(other);
      }
      EXPECT_EQ(found, before) << node;
    }
  }
}

}  // namespace
