#include "kzr/report/page_run.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <numeric>
#include <optional>

#include "kzr/common/utf8.h"
#include "kzr/dump/summary_json.h"
#include "kzr/report/code_places.h"
#include "kzr/report/json_text.h"
#include "kzr/report/page_nodes.h"
#include "kzr/report/run_report.h"

namespace {

using json = nlohmann::ordered_json;

constexpr int format = 1;
constexpr std::size_t most_colours = 12;

json ticks_json(std::uint64_t ticks) {
  return ticks <= greatest_exact_ticks ? json(ticks) : json(std::to_string(ticks));
}

/// Each byte that is no UTF-8 is one U+FFFD; the library itself would take some of them together.
json text_json(std::string_view text) { return valid_utf8(text); }

json ticks_or_null(const std::optional<std::uint64_t>& ticks) {
  return ticks ? ticks_json(*ticks) : json(nullptr);
}

json or_null(const std::optional<double>& number) { return number ? json(*number) : json(nullptr); }

json run_json(const run_report& report) {
  const run_figures& figures = report.figures;
  const run_summary& summary = report.summary();
  json damaged = json::array();
  for (const file_survey& file : summary.files) {
    if (file.ending != file_ending::closed) damaged.push_back(text_json(file.path));
  }
  return {
      {"name", text_json(report.name)},
      {"frequency", text_json(summary.frequency)},
      {"makespan_ticks", ticks_json(figures.span.ticks())},
      {"threads", figures.threads.size()},
      {"executions", figures.executions},
      {"average_parallelism", or_null(figures.average_parallelism)},
      {"utilisation", or_null(figures.utilisation)},
      {"imbalance", or_null(figures.imbalance)},
      {"path_rest_ticks", ticks_json(report.path.rest_ticks)},
      {"damaged_files", damaged},
      {"warnings", warnings_json(summary)},
      {"converter_end", summary.converter_end.empty() ? json(nullptr) : text_json(summary.converter_end)}};
}

json threads_json(const run_report& report) {
  json threads = json::array();
  for (const thread_figures& thread : report.figures.threads) {
    threads.push_back({{"thread", thread.thread},
                       {"executions", thread.executions},
                       {"busy_ticks", ticks_json(thread.busy_ticks)},
                       {"first_begin", ticks_or_null(thread.first_begin)},
                       {"last_end", ticks_or_null(thread.last_end)}});
  }
  return threads;
}

json concurrency_json(const run_report& report) {
  json rows = json::array();
  for (const std::uint64_t ticks : report.figures.concurrency) {
    rows.push_back({{"busy_threads", rows.size()}, {"ticks", ticks_json(ticks)}});
  }
  return rows;
}

/// A time of the range as the page has it. What lies in front of the run is all the same.
json time_in_page(std::uint64_t time, const pyramid_plan& plan) {
  if (time < plan.origin) return -1;
  return ticks_json(std::min(time - plan.origin, plan.span + 1));
}

json range_json(const run_report& report, const pyramid_plan& plan) {
  const auto& [from, to] = report.range;
  if (from == tick_range().from && to == tick_range().to) return nullptr;
  const std::uint64_t begin = to < plan.origin ? from : std::max(from, plan.origin);
  return json::array({time_in_page(begin, plan), time_in_page(to, plan)});
}

/// Finds up to three nodes to look at first, each for a reason of its own.
class top_nodes {
 public:
  top_nodes(const run_report& report, const page_nodes& nodes) : report_(report), nodes_(nodes) {}

  json find() {
    const std::size_t count = report_.nodes.size();
    std::vector<tick_sum> self_ticks(count);
    std::vector<tick_sum> idle_share(count);
    for (std::size_t node = 0; node < count; ++node) {
      self_ticks[node] = report_.figures.nodes[node].self_ticks;
      idle_share[node] = report_.figures.nodes[node].idle_share_thousandths;
    }
    add_greatest("self_ticks", self_ticks, "of the time in nodes, more than any other");
    add_greatest("idle_share_ticks", idle_share, "of the idle time of threads is its share");
    add_greatest("path_ticks", path_ticks(), "of the observed path, after those above");
    return std::move(found_);
  }

 private:
  [[nodiscard]] std::vector<tick_sum> path_ticks() const {
    std::vector<tick_sum> ticks(report_.nodes.size());
    for (const observed_path::step& step : report_.path.steps) {
      ticks[report_.executions.node_of(step.execution)] += report_.executions.duration_of(step.execution);
    }
    return ticks;
  }

  /// Adds the node that has most of what is not there yet.
  void add_greatest(const char* measure, const std::vector<tick_sum>& amounts, const char* reason) {
    std::optional<std::uint32_t> greatest;
    for (const std::uint32_t node : nodes_.listed()) {
      if (amounts[node] == 0 || std::ranges::find(taken_, node) != taken_.end()) continue;
      if (!greatest || amounts[node] > amounts[*greatest]) greatest = node;
    }
    if (!greatest) return;
    taken_.push_back(*greatest);
    const tick_sum sum = std::accumulate(amounts.begin(), amounts.end(), tick_sum{0});
    std::array<char, 16> percent{};
    std::snprintf(percent.data(), percent.size(), "%.1f %% ",
                  100 * static_cast<double>(amounts[*greatest]) / static_cast<double>(sum));
    found_.push_back({{"node", nodes_.number_of(*greatest)},
                      {"id", text_json(report_.nodes[*greatest].id)},
                      {"name", text_json(report_.name_of(*greatest))},
                      {"measure", measure},
                      {"text", std::string(percent.data()) + reason}});
  }

  const run_report& report_;
  const page_nodes& nodes_;
  std::vector<std::uint32_t> taken_;
  json found_ = json::array();
};

/// The nodes with most self time get the colours that are told apart best.
json colours_json(const run_report& report, const page_nodes& nodes) {
  std::vector<std::uint32_t> numbers(nodes.listed().size());
  std::iota(numbers.begin(), numbers.end(), 0U);
  const auto self_ticks = [&](std::uint32_t number) {
    return report.figures.nodes[nodes.listed()[number]].self_ticks;
  };
  std::erase_if(numbers, [&](std::uint32_t number) { return self_ticks(number) == 0; });
  std::ranges::stable_sort(numbers, std::greater{}, self_ticks);
  if (numbers.size() > most_colours) numbers.resize(most_colours);
  return numbers;
}

/// Whether places tell more than nodes do: where several nodes share one, or where regions are all there is.
bool tells_more_by_place(const run_report& report) {
  return std::ranges::any_of(find_code_places(report), [](const code_place_figures& place) {
    return place.nodes > 1 || (place.nodes == 0 && place.regions > 0);
  });
}

json overview_json(const page_nodes& nodes, const time_pyramid::level& overview) {
  json busy = json::array();
  json prevailing = json::array();
  for (const time_pyramid::lane& lane : overview.lanes) {
    busy.push_back(lane.busy);
    json numbers = json::array();
    for (const std::uint32_t node : lane.node) {
      numbers.push_back(node == time_pyramid::no_node ? json(-1) : json(nodes.number_of(node)));
    }
    prevailing.push_back(std::move(numbers));
  }
  return {{"buckets", overview.buckets}, {"busy", busy}, {"node", prevailing}};
}

/// Text inside an element of scripts ends with it, whatever it says.
std::string without_markup(std::string_view text) {
  std::string safe;
  safe.reserve(text.size());
  for (const char c : text) {
    if (c == '<') {
      safe += "\\u003c";
    } else {
      safe += c;
    }
  }
  return safe;
}

}  // namespace

pyramid_plan plan_page(const run_report& report) {
  pyramid_plan plan;
  plan.node_count = report.nodes.size();
  if (report.marks.has_lines()) {
    plan.origin = report.marks.first_time();
    plan.span = report.marks.last_time() - plan.origin;
  }
  for (int thread = 0; thread < report.marks.thread_count(); ++thread) {
    if (report.marks.has_lines_of(thread)) plan.threads.push_back(thread);
  }
  return plan;
}

std::string make_page_run(const run_report& report, const page_nodes& nodes, const pyramid_plan& plan,
                          const time_pyramid::level& overview, const page_detail& detail) {
  const std::optional<double> frequency = ticks_per_second(report.summary());
  json problems = json::array();
  for (const std::string& problem : report.summary().problems) problems.push_back(text_json(problem));
  const json run = {{"format", format},
                    {"run", run_json(report)},
                    {"threads", threads_json(report)},
                    {"concurrency", concurrency_json(report)},
                    {"problems", problems},
                    {"origin", std::to_string(plan.origin)},
                    {"span", ticks_json(plan.span)},
                    {"ticks_per_second", or_null(frequency)},
                    {"exact", plan.span <= greatest_exact_ticks},
                    {"range", range_json(report, plan)},
                    {"all_threads", plan.threads},
                    {"top", top_nodes(report, nodes).find()},
                    {"first_table", tells_more_by_place(report) ? "places" : "nodes"},
                    {"colours", colours_json(report, nodes)},
                    {"overview", overview_json(nodes, overview)},
                    {"executions", detail.executions},
                    {"detailed", detail.detailed}};
  return without_markup(run.dump());
}
