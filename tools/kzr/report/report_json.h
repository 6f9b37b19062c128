#pragma once

#include <iosfwd>

struct run_report;

/// Writes the figures as one JSON object, in UTF-8 whatever bytes the trace holds. docs/report.schema.json
/// describes it.
void write_json(const run_report& report, std::ostream& out);
