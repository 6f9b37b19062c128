#include "graphml/graphml_lines.h"

#include "common/append_pieces.h"

void append_data_opening(std::string& text, std::string_view indent, std::string_view key_id) {
  append_pieces(text, indent, "<data key=\"", key_id, "\">");
}

void append_data_line(std::string& text, std::string_view indent, std::string_view key_id,
                      std::string_view value) {
  append_pieces(text, indent, "<data key=\"", key_id, "\">", value, data_closing);
}
