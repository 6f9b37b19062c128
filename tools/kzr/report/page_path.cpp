#include "kzr/report/page_path.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "analysis/begin_order.h"
#include "analysis/time_pyramid.h"
#include "kzr/report/json_text.h"
#include "kzr/report/page_chunks.h"
#include "kzr/report/page_nodes.h"
#include "kzr/report/run_report.h"

std::string make_page_path(const run_report& report, const begin_order& order, const page_nodes& nodes,
                           const pyramid_plan& plan, const page_chunks& chunks) {
  const execution_table& executions = report.executions;
  const std::vector<observed_path::step>& steps = report.path.steps;
  const auto lane_of = [&](const observed_path::step& step) {
    const int thread = executions.thread_of(step.execution);
    return static_cast<std::size_t>(std::ranges::lower_bound(plan.threads, thread) - plan.threads.begin());
  };
  json_text json;
  json.list("{", "lane");
  for (const observed_path::step& step : steps) json.add(lane_of(step));
  json.end().list(",", "execution");
  std::vector<std::size_t> left_out;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const std::size_t position = order.position_of(executions, steps[i].execution);
    json.add(position);
    if (!chunks.holds(lane_of(steps[i]), position)) left_out.push_back(i);
  }
  json.end().list(",", "gap");
  for (const observed_path::step& step : steps) json.add_ticks(step.gap_ticks);
  json.end().list(",", "kind");
  for (const observed_path::step& step : steps) {
    step.kind == gap_kind::none ? json.add_null() : json.add_text(name_of(step.kind));
  }
  json.end().list(",\"left_out\":{", "step");
  std::size_t last = 0;
  for (const std::size_t i : left_out) json.add(i - std::exchange(last, i));
  json.end().list(",", "node");
  for (const std::size_t i : left_out) json.add(nodes.number_of(executions.node_of(steps[i].execution)));
  json.end().list(",", "ticks");
  for (const std::size_t i : left_out) json.add_ticks(executions.duration_of(steps[i].execution));
  json.end().raw("}").field(",", "rest").add_ticks(report.path.rest_ticks);
  return std::move(json.raw("}").text());
}
