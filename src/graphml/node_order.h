#pragma once

#include <vector>

class graph_symbol;
class node_symbol;

/// The nodes of a graph by the names that they had when they were made, byte by byte: the order in which
/// GraphML lists them.
[[nodiscard]] std::vector<const node_symbol*> nodes_by_name(const graph_symbol& graph);
