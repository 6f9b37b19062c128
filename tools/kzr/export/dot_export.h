#pragma once

class byte_sink;
struct exported_run;

/// Writes the graphs in the language of Graphviz: nodes as tables with ports, coloured by self time, in a
/// cluster for each composite node.
void write_dot(const exported_run& run, byte_sink& out);
