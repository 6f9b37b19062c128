#pragma once

#include <string>
#include <string_view>

/// Appends the line of one datum: `indent`, the element with the key's id and the value as they are, a
/// newline.
void append_data_line(std::string& text, std::string_view indent, std::string_view key_id,
                      std::string_view value);
