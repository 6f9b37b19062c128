#include "kzr/common/printable.h"

#include <cstddef>

namespace {

constexpr std::string_view hex_digits = "0123456789abcdef";

bool is_continuation(std::string_view text, std::size_t at) {
  return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80;
}

/// Bytes of the printable character that starts at `at`; 0 when there is none.
std::size_t character_bytes(std::string_view text, std::size_t at) {
  const auto lead = static_cast<unsigned char>(text[at]);
  if (lead < 0x80) return lead >= ' ' && lead != 0x7F ? 1 : 0;
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  for (std::size_t i = 1; i < bytes; ++i) {
    if (!is_continuation(text, at + i)) return 0;
  }
  // The second half of the control characters has two bytes each.
  return lead == 0xC2 && static_cast<unsigned char>(text[at + 1]) < 0xA0 ? 0 : bytes;
}

}  // namespace

std::string printable(std::string_view text, bool keeps_lines) {
  std::string clean;
  clean.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const bool is_layout = keeps_lines && (text[at] == '\n' || text[at] == '\t');
    const std::size_t bytes = is_layout ? 1 : character_bytes(text, at);
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

std::streamsize printable_output::xsputn(const char* text, std::streamsize size) {
  const std::string clean = printable({text, static_cast<std::size_t>(size)}, true);
  const auto clean_size = static_cast<std::streamsize>(clean.size());
  return sink_.sputn(clean.data(), clean_size) == clean_size ? size : 0;
}

printable_output::int_type printable_output::overflow(int_type character) {
  const char single = traits_type::to_char_type(character);
  return xsputn(&single, 1) == 1 ? character : traits_type::eof();
}
