#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "kzr/report/page_run.h"

struct run_report;

/// Takes the bytes of the page one behind the other.
using page_sink = std::function<void(std::string_view)>;

/// Writes the report as one HTML page, which docs/report_page.md describes. So many bytes are not
/// exceeded as long as leaving out executions helps; the page has the figures and aggregates of all.
page_detail write_page(const run_report& report, std::uint64_t max_bytes, const page_sink& out);
