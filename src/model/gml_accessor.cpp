#include "model/gml_accessor.h"

#include "common/text_buffer.h"
#include "model/edge_symbol.h"
#include "model/node_symbol.h"
#include "model/port_symbol.h"
#include "model/string_handles.h"

void append_port_name(const port_symbol& port, const string_handles& handles, text_buffer& text) {
  if (port.handle() != 0) {
    text += handles.text(port.handle());
  } else {
    text.append_number(port.onx_id().d1);
  }
}

namespace {

void append_gml_accessor(const port_symbol& port, const string_handles& handles, text_buffer& text) {
  if (port.is_input()) {
    text += "target=\"";
    port.node().append_gml_id(text);
    text += "\" targetoffset=\"";
    text.append_number(port.offset());
    text += "\" targetport=\"";
  } else {
    text += "source=\"";
    port.node().append_gml_id(text);
    text += "\" sourceoffset=\"";
    text.append_number(port.offset());
    text += "\" sourceport=\"";
  }
  append_port_name(port, handles, text);
  text += '"';
}

}  // namespace

void append_gml_accessors(const edge_symbol& edge, const string_handles& handles, text_buffer& text) {
  append_gml_accessor(edge.first(), handles, text);
  text += ' ';
  append_gml_accessor(edge.second(), handles, text);
}
