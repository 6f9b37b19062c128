#include "graphml/graphml_lines.h"

void append_data_opening(text_buffer& text, std::string_view indent, std::string_view key_id) {
  text += indent;
  text += "<data key=\"";
  text += key_id;
  text += "\">";
}

void append_data_line(text_buffer& text, std::string_view indent, std::string_view key_id,
                      std::string_view value) {
  append_data_opening(text, indent, key_id);
  text += value;
  text += data_closing;
}
