#include <ostream>

#include "common/append_number.h"
#include "model/port_symbol.h"

void port_symbol::dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) {
  std::string text;
  append_graphml(dm, text, indent);
  os << text;
}

void port_symbol::append_graphml(const kzr_data_manager& dm, std::string& text,
                                 const std::string& indent) const {
  text += indent;
  text += "<port name=\"";
  append_name(dm, text);
  text += is_input() ? "\" type=\"input\" offset=\"" : "\" type=\"output\" offset=\"";
  append_number(text, offset());
  text += "\"/>\n";
}
