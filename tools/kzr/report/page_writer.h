#pragma once

#include <cstdint>

#include "kzr/report/page_run.h"

class byte_sink;
struct run_report;

/// Writes the report as one HTML page, which docs/report_page.md describes. So many bytes are not
/// exceeded as long as leaving out executions helps; the page has the figures and aggregates of all.
page_detail write_page(const run_report& report, std::uint64_t max_bytes, byte_sink& out);
