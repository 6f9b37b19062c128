#pragma once

#include <string>

struct exported_run;

/// Makes the folder `path` with a file for each table, executions in several where the run says so.
void write_csv(const exported_run& run, const std::string& path);
