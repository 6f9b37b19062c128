#pragma once

#include <iosfwd>
#include <nlohmann/json_fwd.hpp>

struct run_summary;

/// The converter's warnings, each with its message and count.
[[nodiscard]] nlohmann::ordered_json warnings_json(const run_summary& run);

/// Writes the summary as one JSON object, in UTF-8 whatever bytes the trace holds.
void write_json(const run_summary& run, std::ostream& out);
