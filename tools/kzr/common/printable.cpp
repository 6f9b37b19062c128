#include "kzr/common/printable.h"

#include <cstddef>

#include "kzr/common/utf8.h"

namespace {

constexpr std::string_view hex_digits = "0123456789abcdef";

/// Marks of direction, U+200E and U+200F, U+202A to U+202E, U+2066 to U+2069, and the separators of lines in
/// between.
bool is_layout_mark(std::string_view character) {
  return (character >= "\u200E" && character <= "\u200F") ||
         (character >= "\u2028" && character <= "\u202E") || (character >= "\u2066" && character <= "\u2069");
}

/// Bytes of the printable character that starts at `at`; 0 when there is none.
std::size_t character_bytes(std::string_view text, std::size_t at) {
  const auto lead = static_cast<unsigned char>(text[at]);
  if (lead < 0x80) return lead >= ' ' && lead != 0x7F ? 1 : 0;
  const std::size_t bytes = utf8_character_bytes(text, at);
  // The second half of the control characters has two bytes each.
  if (lead == 0xC2 && bytes > 0 && static_cast<unsigned char>(text[at + 1]) < 0xA0) return 0;
  return bytes == 3 && is_layout_mark(text.substr(at, bytes)) ? 0 : bytes;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string clean;
  clean.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t bytes = character_bytes(text, at);
    if (bytes > 0) {
      clean += text.substr(at, bytes);
      at += bytes;
    } else {
      const auto byte = static_cast<unsigned char>(text[at++]);
      clean += "\\x";
      clean += hex_digits[byte >> 4U];
      clean += hex_digits[byte & 15U];
    }
  }
  return clean;
}
