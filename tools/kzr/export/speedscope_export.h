#pragma once

class byte_sink;
struct exported_run;

/// Writes the executions of a run as profiles of speedscope, one a thread.
void write_speedscope(const exported_run& run, byte_sink& out);
