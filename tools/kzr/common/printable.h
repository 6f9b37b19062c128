#pragma once

#include <string>
#include <string_view>

/// `text` with everything that could steer a terminal or turn the text around (control characters, separators
/// of lines, marks of direction, bytes that are no UTF-8) as "\x1b". What comes out is one line.
[[nodiscard]] std::string printable(std::string_view text);
