#pragma once

#include <filesystem>
#include <string>

/// Expects the output files of a run (*.graphml, *.traceml, zup_result.csv) in `directory` to be exactly
/// those of tests/golden/<case_name>, byte for byte. With KZR_WRITE_GOLDEN in the environment it takes them
/// over as the new golden files instead.
void expect_golden(const std::string& case_name, const std::filesystem::path& directory);
