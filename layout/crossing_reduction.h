#pragma once

struct layered_graph;

/// Orders the elements within their layers so that few lines cross.
void reduce_crossings(layered_graph& graph);
