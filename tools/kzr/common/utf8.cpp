#include "kzr/common/utf8.h"

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

unsigned byte_at(std::string_view text, std::size_t at) { return static_cast<unsigned char>(text[at]); }

/// The least value that the second byte may have: shorter forms and surrogates are not allowed.
unsigned least_second(unsigned lead) { return lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80; }
unsigned greatest_second(unsigned lead) { return lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF; }

}  // namespace

std::size_t utf8_character_bytes(std::string_view text, std::size_t at) {
  const unsigned lead = byte_at(text, at);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (text.size() - at < bytes) return 0;
  const unsigned second = byte_at(text, at + 1);
  if (second < least_second(lead) || second > greatest_second(lead)) return 0;
  for (std::size_t i = 2; i < bytes; ++i) {
    if ((byte_at(text, at + i) & 0xC0U) != 0x80) return 0;
  }
  return bytes;
}

std::string valid_utf8(std::string_view text) {
  std::string valid;
  valid.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t bytes = utf8_character_bytes(text, at);
    valid += bytes > 0 ? text.substr(at, bytes) : replacement;
    at += bytes > 0 ? bytes : 1;
  }
  return valid;
}
