#pragma once

// Messages of oddities that more than one kind of record can meet.

inline constexpr const char* node_without_graph = "Node has a parent that is not a graph, dropping node.";
