#pragma once

#include <string>

class begin_order;
class page_chunks;
class page_nodes;
struct pyramid_plan;
struct run_report;

/// The part `path`: the observed path of the range. Of steps that no chunk holds, node and duration are in
/// it.
[[nodiscard]] std::string make_page_path(const run_report& report, const begin_order& order,
                                         const page_nodes& nodes, const pyramid_plan& plan,
                                         const page_chunks& chunks);
