#pragma once

#include <iosfwd>

struct run_summary;

/// Writes the summary as one JSON object, in UTF-8 whatever bytes the trace holds.
void write_json(const run_summary& run, std::ostream& out);
