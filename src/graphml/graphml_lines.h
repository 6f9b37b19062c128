#pragma once

#include <string_view>

#include "common/text_buffer.h"

/// What ends the line of one datum.
constexpr char data_closing[] = "</data>\n";

/// Appends the line of one datum as far as its value. The caller appends the value and `data_closing`.
void append_data_opening(text_buffer& text, std::string_view indent, std::string_view key_id);

/// Appends the line of one datum: `indent`, the element with the key's id and the value as they are, without
/// escaping, a newline.
void append_data_line(text_buffer& text, std::string_view indent, std::string_view key_id,
                      std::string_view value);
