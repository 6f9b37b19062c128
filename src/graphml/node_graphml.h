#pragma once

#include <string>

class string_handles;
class kzr_data_manager;
class node_symbol;
class text_buffer;

/// Appends the lines that open the element of any node: its id, its name and, if known, its code location.
void append_node_opening(const node_symbol& node, const kzr_data_manager& dm, const std::string& indent,
                         text_buffer& text);

/// Appends the lines of the node's ports, inputs first, each behind `indent`.
void append_ports(const node_symbol& node, const string_handles& handles, const std::string& indent,
                  text_buffer& text);
