#pragma once

#include <string>

class page_nodes;
struct pyramid_plan;
struct run_report;

/// The part `marks`: user events and regions.
[[nodiscard]] std::string make_page_marks(const run_report& report, const page_nodes& nodes,
                                          const pyramid_plan& plan);
