#pragma once

#include <cstdint>
#include <string>

#include "kzr/report/page_run.h"

struct run_report;

/// In MiB, for who asks for nothing else.
constexpr std::uint64_t default_page_mebibytes = 64;

/// The file of a page that is given no name: the run's directory's, in the working directory.
[[nodiscard]] std::string default_page_path(const run_report& report);

/// Writes the report as one HTML page to `path`. So many bytes are not exceeded as long as leaving out
/// executions helps. Throws `std::runtime_error` with path and reason when the page cannot be written; then
/// nothing half is left.
page_detail write_page_file(const run_report& report, const std::string& path, std::uint64_t max_mebibytes);
