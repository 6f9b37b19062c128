#include "kzr/report/run_report.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "analysis/execution_collector.h"
#include "kzr/common/progress_bar.h"
#include "processor/image_table.h"
#include "processor/kzr_record_processor.h"
#include "reader/multifile_reader.h"

namespace fs = std::filesystem;

namespace {

/// The images of the run's own directory; none where their list cannot be read.
image_table read_images_beside(const std::string& stem) {
  image_table images;
  std::ifstream list(fs::path(stem).parent_path() / "imageload.csv");
  try {
    images.read(list);
  } catch (const std::exception&) {
    return {};
  }
  return images;
}

bool has_image_list() {
  const char* const results = std::getenv("QZD_DIR");
  std::error_code failure;
  return results != nullptr && fs::exists(fs::path(results) / "imageload.csv", failure);
}

void locate_code(run_report& report) {
  const image_table images =
      has_image_list() ? std::move(*report.recorded.images) : read_images_beside(report.summary().stem);
  code_locator locator;
  for (const auto& [node, address, time] : report.recorded.code_addresses) {
    const auto location = images.find(address, time);
    if (location)
      report.code[report.nodes.find_or_add(*node)] = locator.find(location->image, location->offset);
  }
}

/// Computes the figures of the range, and how busy threads were during the regions that lie in it.
void compute_figures(run_report& report) {
  const std::vector<timeline_marks::region>& regions = report.marks.regions();
  std::vector<std::uint64_t> times;
  for (const timeline_marks::region& region : regions) times.insert(times.end(), {region.begin, region.end});
  std::ranges::sort(times);
  report.figures = compute_figures(report.executions, report.nodes.size(), report.range, times);
  const auto busy_ticks_from = [&](std::uint64_t time) {
    return report.figures
        .busy_ticks_from[static_cast<std::size_t>(std::ranges::lower_bound(times, time) - times.begin())];
  };
  for (const timeline_marks::region& region : regions) {
    report.region_busy_ticks.push_back(busy_ticks_from(region.begin) - busy_ticks_from(region.end));
  }
}

}  // namespace

std::string run_report::name_of(std::uint32_t node) const {
  const node_symbol* const shown = nodes[node].shown;
  const std::string_view given = shown == nullptr ? "" : recorded.model->find_object_name(*shown);
  return given.empty() ? nodes[node].id : std::string(given);
}

std::string name_of_run(const std::string& stem) {
  const fs::path path = fs::absolute(stem).lexically_normal();
  const std::string directory = path.parent_path().filename().string();
  return directory.empty() ? path.filename().string() : directory;
}

run_report make_report(const report_settings& settings) {
  run_report report(
      read_run(settings.stem, settings.looks_into_openmp ? openmp_paths::as_recorded : openmp_paths::off));
  report.name = name_of_run(settings.stem);
  const kzr_data_manager& model = *report.recorded.model;
  progress_bar progress(0);
  progress.tell("collecting the executions");
  if (report.recorded.processor) {
    const event_list& events = report.recorded.processor->collected().events();
    collected_timeline timeline = collect_timeline(events, model, report.nodes, settings.keeps_begin_order);
    report.executions = std::move(timeline.executions);
    report.marks = std::move(timeline.marks);
    report.recorded.processor.reset();
    report.executions.close();
  }
  // Behind that no node is new that ran.
  report.links = find_links(model, report.nodes);
  locate_code(report);
  report.has_run = find_nodes_that_ran(report.executions, report.nodes.size(), {});
  report.range = settings.range;
  progress.tell("computing the figures");
  compute_figures(report);
  progress.tell("finding the path");
  report.path = find_observed_path(report.executions, report.links, settings.range);
  return report;
}

std::vector<std::uint32_t> list_nodes(const run_report& report) {
  std::vector<std::uint32_t> nodes;
  for (std::uint32_t node = 0; node < report.nodes.size(); ++node) {
    if (report.is_listed(node)) nodes.push_back(node);
  }
  std::ranges::sort(nodes, {},
                    [&report](std::uint32_t node) { return std::string_view(report.nodes[node].id); });
  return nodes;
}

const char* name_of(gap_kind kind) {
  switch (kind) {
    case gap_kind::none:
      break;
    case gap_kind::enclosing:
      return "enclosing";
    case gap_kind::thread:
      return "thread";
    case gap_kind::data:
      return "data";
    case gap_kind::unexplained:
      return "unexplained";
  }
  return "";
}
