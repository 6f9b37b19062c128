#include <ostream>

#include "common/text_buffer.h"
#include "model/edge_symbol.h"
#include "model/kzr_data_manager.h"

void edge_symbol::dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) {
  text_buffer text;
  append_graphml(dm.handles(), text, indent);
  os << text.view();
}

void edge_symbol::append_graphml(const string_handles& handles, text_buffer& text,
                                 const std::string& indent) const {
  text += indent;
  text += "<edge id=\"";
  append_gml_id(text);
  text += "\" ";
  append_accessors(handles, text);
  text += "/>\n";
}
