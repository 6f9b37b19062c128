#pragma once

#include <cstddef>
#include <iosfwd>

struct run_summary;

/// Writes whether the run is sound, and its problems, of more than `most` the first ones.
void write_verdict(const run_summary& run, std::size_t most, std::ostream& out);

/// Writes the summary as tables for people.
void write_text(const run_summary& run, std::ostream& out);
