#include <ostream>

#include "common/text_buffer.h"
#include "model/edge_symbol.h"
#include "model/handle_texts.h"
#include "model/kzr_data_manager.h"

void edge_symbol::dump_as_graphml(kzr_data_manager& dm, std::ostream& os, const std::string& indent) {
  handle_texts texts(dm.handles());
  text_buffer text;
  append_graphml(texts, text, indent);
  os << text.view();
}

void edge_symbol::append_graphml(handle_texts& texts, text_buffer& text, const std::string& indent) const {
  text += indent;
  text += "<edge id=\"";
  append_gml_id(text);
  text += "\" ";
  append_accessors(texts, text);
  text += "/>\n";
}
