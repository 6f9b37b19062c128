#pragma once

class table_sink;
struct run_report;

/// Hands over the tables of a run, whose order of begins is kept: what runs where, when, and what it took.
/// Rows that others refer to come first, but for the graph that a composite node stands in. Throws
/// `output_error` for times that do not fit 63 bits, and what the sink throws.
void write_run_tables(const run_report& report, table_sink& sink);
