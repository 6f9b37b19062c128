#pragma once

class byte_sink;
struct exported_run;

/// Writes the nodes of all levels as one flat graph in the form of GraphML that every reader of it knows,
/// each with its composite node and its figures.
void write_graphml(const exported_run& run, byte_sink& out);
