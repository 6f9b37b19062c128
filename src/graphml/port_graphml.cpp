#include <ostream>

#include "common/text_buffer.h"
#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"

void port_symbol::dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) {
  text_buffer text;
  append_graphml(dm.handles(), text, indent);
  os << text.view();
}

void port_symbol::append_graphml(const string_handles& handles, text_buffer& text,
                                 const std::string& indent) const {
  text += indent;
  text += "<port name=\"";
  append_name(handles, text);
  if (is_input()) {
    text += "\" type=\"input\" offset=\"";
  } else {
    text += "\" type=\"output\" offset=\"";
  }
  append_number(text, offset());
  text += "\"/>\n";
}
