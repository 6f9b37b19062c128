#pragma once

#include <string>

struct exported_run;

/// Writes the database `path`: the tables of the run, indexes on its executions, and the figures as views.
void write_sqlite(const exported_run& run, const std::string& path);
