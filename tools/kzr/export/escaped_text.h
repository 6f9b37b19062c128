#pragma once

#include <string>
#include <string_view>

class text_buffer;

/// Appends `text` to an XML document, for an element as well as for an attribute, with U+FFFD for what XML
/// cannot hold. What is read back has the same spaces and line breaks.
void append_xml(std::string_view text, text_buffer& out);

/// `text` as databases and tables hold it: U+FFFD for each NUL and each byte that is no UTF-8.
[[nodiscard]] std::string storable_text(std::string_view text);
