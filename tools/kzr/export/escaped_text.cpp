#include "kzr/export/escaped_text.h"

#include <algorithm>

#include "common/text_buffer.h"
#include "kzr/common/utf8.h"

namespace {

constexpr std::string_view replacement = "\uFFFD";

/// What stands for a character that has another meaning in XML, or that its readers change; empty for others.
std::string_view find_entity(char letter) {
  switch (letter) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\t':
      return "&#9;";
    case '\n':
      return "&#10;";
    case '\r':
      return "&#13;";
    default:
      return {};
  }
}

bool fits_xml(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character.front());
  return lead >= ' ' && character != "\uFFFE" && character != "\uFFFF";
}

/// Appends the character at `at` and returns where the next one is.
std::size_t append_xml_character(std::string_view text, std::size_t at, text_buffer& out) {
  const std::size_t bytes = utf8_character_bytes(text, at);
  const std::string_view character = text.substr(at, std::max<std::size_t>(bytes, 1));
  const std::string_view entity = find_entity(character.front());
  if (!entity.empty()) {
    out += entity;
  } else {
    out += bytes > 0 && fits_xml(character) ? character : replacement;
  }
  return at + character.size();
}

}  // namespace

void append_xml(std::string_view text, text_buffer& out) {
  for (std::size_t at = 0; at < text.size();) at = append_xml_character(text, at, out);
}

void append_html_label(std::string_view text, text_buffer& out) {
  constexpr std::size_t most_characters = 1000;
  constexpr std::size_t line_characters = 100;
  std::size_t characters = 0;
  std::size_t in_line = 0;
  for (std::size_t at = 0; at < text.size(); ++characters) {
    if (characters == most_characters) {
      out += "\u2026";
      return;
    }
    if (text[at] == '\n' || in_line == line_characters) {
      out += "<BR/>";
      in_line = 0;
    }
    if (text[at] == '\n') {
      ++at;
      continue;
    }
    ++in_line;
    if (text[at] == '\t' || text[at] == '\r') {
      out += replacement;
      ++at;
    } else if (text[at] == '\\') {
      // Graphviz replaces some letters behind one by names of its own.
      out += "\\\\";
      ++at;
    } else {
      at = append_xml_character(text, at, out);
    }
  }
}

std::string storable_text(std::string_view text) {
  std::string storable = valid_utf8(text);
  for (std::size_t at = 0; (at = storable.find('\0', at)) != std::string::npos;) {
    storable.replace(at, 1, replacement);
  }
  return storable;
}
