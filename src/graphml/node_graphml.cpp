#include "graphml/node_graphml.h"

#include <ostream>

#include "common/text_buffer.h"
#include "graphml/graphml_lines.h"
#include "model/kzr_data_manager.h"

void append_node_opening(const node_symbol& node, const kzr_data_manager& dm, const std::string& indent,
                         text_buffer& text) {
  const graphml_keys& keys = dm.keys();
  const std::string data_indent = indent + "  ";
  text += indent;
  text += "<node  id=\"";
  const std::size_t id_begin = text.size();
  node.append_gml_id(text);
  const std::size_t id_size = text.size() - id_begin;
  text += "\">\n";
  const auto& name_key = dm.handles().remembered(vocabulary_word::object_name);
  const std::string_view name = name_key ? node.find_metadata(*name_key) : std::string_view();
  if (name.empty()) {
    append_data_opening(text, data_indent, keys.object_name());
    text.append_again(id_begin, id_size);
    text += data_closing;
  } else {
    append_data_line(text, data_indent, keys.object_name(), name);
  }
  if (!node.code_location().empty()) {
    append_data_opening(text, data_indent, keys.line_no());
    text.append_again(id_begin, id_size);
    text += "::";
    text += node.code_location();
    text += data_closing;
  }
}

void append_ports(const node_symbol& node, const string_handles& handles, const std::string& indent,
                  text_buffer& text) {
  for (const port_symbol* const port : node.input_ports()) port->append_graphml(handles, text, indent);
  for (const port_symbol* const port : node.output_ports()) port->append_graphml(handles, text, indent);
}

namespace {

/// The policy of a join node with such a kind handle; null for every other kind. A key-matching join is none
/// of these: it is written with its full kind text.
const char* find_join_policy(const string_handles& handles, std::uint64_t kind) {
  if (handles.is(vocabulary_word::join_queueing, kind)) return "queueing";
  if (handles.is(vocabulary_word::join_reserving, kind)) return "reserving";
  if (handles.is(vocabulary_word::join_tag_matching, kind)) return "tag_matching";
  return nullptr;
}

}  // namespace

void node_symbol::dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) {
  text_buffer text;
  append_graphml(dm, dm.handles(), text, indent);
  os << text.view();
}

void node_symbol::append_graphml(const kzr_data_manager& dm, const string_handles& handles, text_buffer& text,
                                 const std::string& indent) const {
  if (!visible_) return;
  const graphml_keys& keys = dm.keys();
  const std::string inner_indent = indent + "  ";
  append_node_opening(*this, dm, indent, text);
  append_data_line(text, inner_indent, keys.plugin(), "pwl");
  if (const char* const policy = find_join_policy(dm.handles(), handle_)) {
    append_data_line(text, inner_indent, keys.node_type(), "join_node");
    append_data_line(text, inner_indent, keys.join_policy(), policy);
  } else {
    append_data_line(text, inner_indent, keys.node_type(), handles.text(handle_));
  }
  append_ports(*this, handles, inner_indent, text);
  text += indent;
  text += "</node>\n";
}
