#include <ostream>

#include "graphml/graphml_file.h"
#include "graphml/graphml_lines.h"
#include "graphml/node_graphml.h"
#include "model/kzr_data_manager.h"

namespace {

// Keys exist for the ports 0 to 9.
bool has_port_key(int offset) { return offset >= 0 && offset <= 9; }

/// Names the inner end of each port that has one and a key of its own.
void append_port_data(std::span<port_symbol* const> ports, const std::string& key_name,
                      const kzr_data_manager& dm, const string_handles& handles, const std::string& indent,
                      text_buffer& text) {
  for (const port_symbol* const port : ports) {
    const port_symbol* const inner = port->aliased_child();
    if (inner == nullptr || !has_port_key(port->offset())) continue;
    append_data_opening(text, indent, dm.get_key_id(key_name + std::to_string(port->offset())));
    inner->node().append_gml_id(text);
    text += ':';
    inner->append_name(handles, text);
    text += data_closing;
  }
}

/// Names what stands for each port that has a key of its own.
void append_alias_data(const std::vector<port_alias>& aliases, const std::string& direction,
                       const kzr_data_manager& dm, const std::string& indent, text_buffer& text) {
  for (const port_alias& alias : aliases) {
    if (!has_port_key(alias.outer->offset())) continue;
    const std::string number = std::to_string(alias.outer->offset());
    append_data_line(text, indent, dm.get_key_id(direction + " Alias Node " + number),
                     alias.inner->node().gml_id());
    append_data_line(text, indent, dm.get_key_id(direction + " Alias Port " + number),
                     std::to_string(alias.inner->offset()));
  }
}

}  // namespace

void subgraph_node_symbol::dump_additional_graph_data(kzr_data_manager& dm, std::ostream& os,
                                                      const std::string& indent) {
  text_buffer text;
  append_data_line(text, indent, dm.get_key_id("concurrency_list"), "0");
  append_data_line(text, indent, dm.get_key_id("no_of_data_elements"), "0");
  append_data_line(text, indent, dm.get_key_id("no_of_nodes"), std::to_string(count_visible_nodes()));
  append_data_line(text, indent, dm.get_key_id("no_of_edges"), std::to_string(count_edges()));
  append_alias_data(input_aliases(), "Input", dm, indent, text);
  append_alias_data(output_aliases(), "Output", dm, indent, text);
  os << text.view();
}

void subgraph_node_symbol::dump_as_graphml(kzr_data_manager& dm, std::ostream& os,
                                           const std::string& indent) {
  node_symbol::dump_as_graphml(dm, os, indent);
}

void subgraph_node_symbol::append_graphml(const kzr_data_manager& dm, const string_handles& handles,
                                          text_buffer& text, const std::string& indent) const {
  if (!visible()) return;
  const graphml_keys& keys = dm.keys();
  const std::string inner_indent = indent + "  ";
  append_node_opening(*this, dm, indent, text);
  if (is_streaming_node(dm)) {
    append_data_line(text, inner_indent, dm.get_key_id("factory"), "1");
    append_data_line(text, inner_indent, keys.plugin(), "pwl");
    append_data_line(text, inner_indent, keys.node_type(), "streaming_node");
    append_data_line(text, inner_indent, dm.get_key_id("description"), "OpenCL");
  } else {
    append_data_line(text, inner_indent, keys.plugin(), "qzd");
    append_data_line(text, inner_indent, keys.node_type(), "subgraph_node");
  }
  append_port_data(input_ports(), "Input ", dm, handles, inner_indent, text);
  append_port_data(output_ports(), "Output ", dm, handles, inner_indent, text);
  if (own_file() != nullptr) {
    append_data_line(text, inner_indent, dm.get_key_id("subgraph_reference"),
                     own_file()->name() + ".graphml");
  }
  append_ports(*this, handles, inner_indent, text);
  text += indent;
  text += "</node>\n";
}
