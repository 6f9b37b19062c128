#include <ostream>

#include "model/edge_symbol.h"

void edge_symbol::dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) {
  std::string text;
  append_graphml(dm, text, indent);
  os << text;
}

void edge_symbol::append_graphml(const kzr_data_manager& dm, std::string& text,
                                 const std::string& indent) const {
  text += indent;
  text += "<edge id=\"";
  append_gml_id(text);
  text += "\" ";
  append_accessors(dm, text);
  text += "/>\n";
}
