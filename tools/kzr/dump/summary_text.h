#pragma once

#include <iosfwd>

struct run_summary;

/// Writes the summary as tables for people.
void write_text(const run_summary& run, std::ostream& out);
