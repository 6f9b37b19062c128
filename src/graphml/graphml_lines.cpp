#include "graphml/graphml_lines.h"

void append_data_line(std::string& text, std::string_view indent, std::string_view key_id,
                      std::string_view value) {
  text += indent;
  text += "<data key=\"";
  text += key_id;
  text += "\">";
  text += value;
  text += "</data>\n";
}
