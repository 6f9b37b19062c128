#pragma once

#include <string>
#include <string_view>

class text_buffer;

/// Appends `text` to an XML document, for an element as well as for an attribute, with U+FFFD for what XML
/// cannot hold. What is read back has the same spaces and line breaks.
void append_xml(std::string_view text, text_buffer& out);

/// Appends `text` to a label of Graphviz in the form of HTML, with its line breaks and further ones in long
/// lines, up to a length that can still be drawn. U+FFFD is there for tabs, too, which Graphviz leaves out.
void append_html_label(std::string_view text, text_buffer& out);

/// `text` as databases and tables hold it: U+FFFD for each NUL and each byte that is no UTF-8.
[[nodiscard]] std::string storable_text(std::string_view text);
