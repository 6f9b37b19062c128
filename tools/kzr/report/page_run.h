#pragma once

#include <cstdint>
#include <string>

#include "analysis/time_pyramid.h"

class page_nodes;
struct run_report;

/// The lanes and the time that the page shows: all threads with lines, from the first line to the last one.
[[nodiscard]] pyramid_plan plan_page(const run_report& report);

/// How many executions a page has in detail.
struct page_detail {
  std::uint64_t executions = 0;
  std::uint64_t detailed = 0;
};

/// The object `run`, all that the first picture needs, as it stands in the page. `overview` is the coarsest
/// level.
[[nodiscard]] std::string make_page_run(const run_report& report, const page_nodes& nodes,
                                        const pyramid_plan& plan, const time_pyramid::level& overview,
                                        const page_detail& detail);
