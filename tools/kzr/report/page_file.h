#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "kzr/report/page_run.h"

class run_output;
struct run_report;

/// In MiB, for who asks for nothing else.
constexpr std::uint64_t default_page_mebibytes = 64;

/// The file of a page that is given no name: the run's directory's, in the working directory.
[[nodiscard]] std::string default_page_path(const std::string& stem);

/// Writes the report as one HTML page. So many bytes are not exceeded as long as leaving out executions
/// helps. None, after a word on standard error, when the page cannot be written; then nothing half is left.
[[nodiscard]] std::optional<page_detail> write_page_file(const run_report& report, const run_output& output,
                                                         std::uint64_t max_mebibytes);
