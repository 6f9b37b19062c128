#include "analysis/figures.h"

#include <gtest/gtest.h>

#include <limits>

#include "analysis/lines.h"

namespace {

constexpr auto barrier = execution_kind::barrier;
constexpr auto implicit = execution_kind::implicit_task;
using numbers = std::vector<std::uint64_t>;

/// The run that docs/analysis.md works through.
execution_table example() {
  return executions_of({begin(0, 10, 0), end(0, 20), begin(0, 20, 1), begin(1, 22, 1), begin(0, 25, 2),
                        end(0, 30), end(1, 34), end(0, 40), begin(1, 46, 3), end(1, 50)});
}

/// What is told of each node: executions, threads, total, self and idle share, the latter in thousandths.
std::vector<numbers> sums_of(const run_figures& figures) {
  std::vector<numbers> sums;
  for (const node_figures& node : figures.nodes) {
    sums.push_back({node.executions, node.threads, static_cast<std::uint64_t>(node.total_ticks),
                    static_cast<std::uint64_t>(node.self_ticks),
                    static_cast<std::uint64_t>(node.idle_share_thousandths)});
  }
  return sums;
}

numbers busy_of(const run_figures& figures) {
  numbers busy;
  for (const thread_figures& thread : figures.threads) busy.push_back(thread.busy_ticks);
  return busy;
}

TEST(figures, are_those_of_the_worked_example) {
  const run_figures run = compute_figures(example(), 5, {});
  EXPECT_EQ(run.span.ticks(), 40U);
  EXPECT_EQ(run.executions, 5U);
  EXPECT_EQ(busy_of(run), (numbers{30, 16}));
  EXPECT_EQ(run.concurrency, (numbers{6, 22, 12}));
  EXPECT_NEAR(*run.average_parallelism, 1.15, 1e-9);
  EXPECT_NEAR(*run.utilisation, 0.575, 1e-9);
  EXPECT_NEAR(*run.imbalance, 60.0 / 46 - 1, 1e-9);
  EXPECT_EQ(sums_of(run), (std::vector<numbers>{{1, 1, 10, 10, 10000},
                                                {2, 2, 32, 27, 8000},
                                                {1, 1, 5, 5, 0},
                                                {1, 1, 4, 4, 4000},
                                                {0, 0, 0, 0, 0}}));
  EXPECT_EQ(thousandths_text(run.nodes[1].mean_thousandths()), "16");
  EXPECT_EQ(run.nodes[1].inclusive->first_begin, 20U);
  EXPECT_EQ(run.nodes[1].inclusive->last_end, 40U);
  EXPECT_FALSE(run.nodes[4].inclusive);
}

TEST(figures, use_what_is_inside_a_range) {
  // Of the outer execution of node 1 and of the last one a part is inside.
  const run_figures run = compute_figures(example(), 4, {.from = 21, .to = 48});
  EXPECT_EQ(run.span.ticks(), 27U);
  EXPECT_EQ(run.executions, 2U);
  EXPECT_EQ(busy_of(run), (numbers{19, 14}));
  EXPECT_EQ(run.concurrency, (numbers{6, 9, 12}));
  EXPECT_EQ(sums_of(run), (std::vector<numbers>{
                              {0, 0, 0, 0, 0}, {1, 1, 31, 26, 7000}, {1, 1, 5, 5, 0}, {0, 0, 2, 2, 2000}}));
  EXPECT_EQ(run.threads[1].last_end, 34U);
  EXPECT_FALSE(run.nodes[3].inclusive);

  const run_figures before = compute_figures(example(), 4, {.from = 0, .to = 9});
  EXPECT_EQ(before.concurrency, numbers{0});
  EXPECT_TRUE(before.threads.empty());
  EXPECT_FALSE(before.utilisation || before.imbalance);
  // Both ends belong to the range: what only touches it counts, without any time.
  EXPECT_EQ(compute_figures(example(), 4, {.from = 40, .to = 45}).concurrency, (numbers{0, 0}));
}

TEST(figures, know_barriers_implicit_tasks_and_times_that_go_back) {
  const run_figures run =
      compute_figures(executions_of({region(0, 8), outer(0, 5), begin(0, 5, 0, implicit), outer(0, 10),
                                     begin(0, 12, 1, barrier), begin(0, 14, 2), end(0, 13), end(0, 20),
                                     end(0, 20), end(0, 22), end(0, 30)}),
                      3, {});
  // From 8 to 22; the barrier from 12 to 20 holds an execution that the time took back to no length.
  EXPECT_EQ(run.span.first, 8U);
  EXPECT_EQ(run.executions, 3U);
  EXPECT_EQ(busy_of(run), numbers{6});
  EXPECT_EQ(run.concurrency, (numbers{8, 6}));
  EXPECT_EQ(sums_of(run), (std::vector<numbers>{{1, 1, 14, 6, 0}, {1, 1, 8, 8, 0}, {1, 1, 0, 0, 0}}));
}

TEST(figures, tell_how_long_threads_were_busy_from_a_time_on) {
  const numbers times = {0, 10, 23, 25, 34, 43, 46, 48, 50, 60};
  const run_figures run = compute_figures(example(), 4, {}, times);
  numbers busy;
  for (const tick_sum ticks : run.busy_ticks_from) busy.push_back(static_cast<std::uint64_t>(ticks));
  EXPECT_EQ(busy, (numbers{46, 46, 32, 28, 10, 4, 4, 2, 0, 0}));
  EXPECT_EQ(compute_figures(executions_of({}), 0, {}, times).busy_ticks_from.size(), times.size());
}

TEST(figures, have_percentiles_of_the_nearest_rank) {
  struct {
    std::uint64_t count;
    numbers percentiles;
  } const cases[] = {{1, {1, 1, 1}}, {2, {1, 2, 2}}, {3, {2, 3, 3}}, {10, {5, 9, 10}}, {101, {51, 91, 100}}};
  for (const auto& [count, percentiles] : cases) {
    execution_table executions;
    for (std::uint64_t ticks = count; ticks > 0; --ticks) {
      executions.begin(0, 0, 0, execution_kind::work);
    }
    // What began last ends first.
    for (std::uint64_t ticks = 1; ticks <= count; ++ticks) executions.end(0, ticks);
    executions.close();
    const node_figures::spread spread = *compute_figures(executions, 1, {}).nodes[0].inclusive;
    EXPECT_EQ((numbers{spread.p50_ticks, spread.p90_ticks, spread.p99_ticks}), percentiles) << count;
  }
}

TEST(figures, are_exact_where_sums_need_more_than_64_bits) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  const run_figures run =
      compute_figures(executions_of({begin(0, 0, 0), begin(0, 0, 0), begin(1, 1, 0), begin(2, most - 1, 1),
                                     end(0, most), end(0, most), end(1, most), end(2, most)}),
                      2, {});
  EXPECT_EQ(decimal_text(run.nodes[0].total_ticks), "55340232221128654844");  // 3 * (2^64 - 1) - 1
  EXPECT_EQ(thousandths_text(run.nodes[0].mean_thousandths()), "18446744073709551614.667");
  // One tick with one busy thread of three, then all but the last one with two.
  EXPECT_EQ(thousandths_text(run.nodes[0].idle_share_thousandths), "18446744073709551615");
  EXPECT_EQ(run.concurrency, (numbers{0, 1, most - 2, 1}));
  EXPECT_EQ(thousandths_text(1050), "1.05");
  EXPECT_EQ(thousandths_text(7), "0.007");
}

}  // namespace
