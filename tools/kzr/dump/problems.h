#pragma once

#include <string>
#include <vector>

struct file_survey;
struct run_summary;

/// A sentence for everything in the run that is damaged or odd; none for a sound run.
[[nodiscard]] std::vector<std::string> find_problems(const run_summary& run);

/// True when the header says another frequency or concurrency than that of the run's first usable file.
[[nodiscard]] bool has_other_header(const run_summary& run, const file_survey& file);

/// How the file ends: the word for it, and what and where the damage is.
[[nodiscard]] std::string describe_ending(const file_survey& file);
