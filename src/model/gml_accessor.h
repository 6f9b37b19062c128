#pragma once

class edge_symbol;
class port_symbol;
class string_handles;
class text_buffer;

/// Appends the name of a port: the text of its handle, or the first word of its identifier.
void append_port_name(const port_symbol& port, const string_handles& handles, text_buffer& text);

/// Appends the texts by which an edge names its ends, separated by a blank.
void append_gml_accessors(const edge_symbol& edge, const string_handles& handles, text_buffer& text);
