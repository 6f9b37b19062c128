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

}  // namespace

void append_xml(std::string_view text, text_buffer& out) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t bytes = utf8_character_bytes(text, at);
    const std::string_view character = text.substr(at, std::max<std::size_t>(bytes, 1));
    at += character.size();
    const std::string_view entity = find_entity(character.front());
    if (!entity.empty()) {
      out += entity;
    } else {
      out += bytes > 0 && fits_xml(character) ? character : replacement;
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
