#pragma once

class byte_sink;
struct exported_run;

/// Writes the threads of a run, its regions and the number of busy threads as tracks of a Perfetto trace.
void write_perfetto(const exported_run& run, byte_sink& out);
