#pragma once

#include <string>
#include <string_view>

/// What ends the line of one datum.
constexpr std::string_view data_closing = "</data>\n";

/// Appends the line of one datum as far as its value. The caller appends the value and `data_closing`.
void append_data_opening(std::string& text, std::string_view indent, std::string_view key_id);

/// Appends the line of one datum: `indent`, the element with the key's id and the value as they are, without
/// escaping, a newline.
void append_data_line(std::string& text, std::string_view indent, std::string_view key_id,
                      std::string_view value);
