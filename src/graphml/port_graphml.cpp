#include <ostream>

#include "common/text_buffer.h"
#include "model/handle_texts.h"
#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"

void port_symbol::dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) {
  handle_texts texts(dm.handles());
  text_buffer text;
  append_graphml(texts, text, indent);
  os << text.view();
}

void port_symbol::append_graphml(handle_texts& texts, text_buffer& text, const std::string& indent) const {
  text += indent;
  text += "<port name=\"";
  append_name(texts, text);
  if (is_input()) {
    text += "\" type=\"input\" offset=\"";
  } else {
    text += "\" type=\"output\" offset=\"";
  }
  append_number(text, offset());
  text += "\"/>\n";
}
