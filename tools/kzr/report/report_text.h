#pragma once

#include <iosfwd>

struct run_report;

/// Writes the figures as tables for people: what is damaged or odd first, and of many threads, nodes and
/// steps of the path those that matter most.
void write_text(const run_report& report, std::ostream& out);
