#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <span>

struct run_report;

/// The part `graph` of a report's page, laid out: docs/report_page.md has its fields. `listed` are the nodes
/// of the page in their order. Edges between nodes that no one graph shows together are left out, and of
/// several between the same ports there is one.
[[nodiscard]] nlohmann::json make_page_graph(const run_report& report, std::span<const std::uint32_t> listed);
