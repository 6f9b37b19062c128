#pragma once

#include <nlohmann/json_fwd.hpp>

struct run_report;

/// The part of the page with the layout of the graphs.
[[nodiscard]] nlohmann::json make_page_graph(const run_report& report);
