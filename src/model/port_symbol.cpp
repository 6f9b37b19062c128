#include "model/port_symbol.h"

#include "common/kzr_assert.h"
#include "common/text_buffer.h"
#include "model/graph_symbol.h"
#include "model/kzr_data_manager.h"
#include "model/node_symbol.h"

port_symbol::port_symbol(const ___onx_id& id, node_symbol& node, unsigned long handle, bool is_input,
                         int offset)
    : direction_and_offset_(static_cast<std::uint32_t>(offset) << 1 | static_cast<std::uint32_t>(is_input)),
      id_(id),
      node_(&node),
      handle_(handle) {}

std::shared_ptr<port_symbol> port_symbol::create(symbol_list& symbols, const ___onx_id& id, node_symbol& node,
                                                 unsigned long handle, bool is_input, int offset) {
  port_symbol& port = symbols.make<port_symbol>(id, node, handle, is_input, offset);
  if (is_input) {
    node.add_input_port(port);
  } else {
    node.add_output_port(port);
  }
  node.graph_for_ports().add_port(port);
  return share(port);
}

std::shared_ptr<graph_symbol> port_symbol::get_enclosing_graph() const {
  return node_->get_enclosing_graph();
}

std::shared_ptr<node_symbol> port_symbol::get_parent_node() const { return share(*node_); }

std::string port_symbol::gml_id() const { kzr_fail("ERROR: A port does not have a graphml id"); }

void* port_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }

std::string port_symbol::get_gml_accessor(const kzr_data_manager& dm) const {
  text_buffer accessor;
  append_gml_accessor(dm.handles(), accessor);
  return std::string(accessor.view());
}

void port_symbol::append_gml_accessor(const string_handles& handles, text_buffer& text) const {
  if (is_input()) {
    text += "target=\"";
    node_->append_gml_id(text);
    text += "\" targetoffset=\"";
    append_number(text, offset());
    text += "\" targetport=\"";
  } else {
    text += "source=\"";
    node_->append_gml_id(text);
    text += "\" sourceoffset=\"";
    append_number(text, offset());
    text += "\" sourceport=\"";
  }
  append_name(handles, text);
  text += '"';
}

void port_symbol::append_name(const string_handles& handles, text_buffer& text) const {
  if (handle_ != 0) {
    text += handles.text(handle_);
  } else {
    append_number(text, id_.d1);
  }
}
