#include "kzr/report/base64.h"

#include <charconv>
#include <cstdint>

std::string base64(std::string_view bytes) {
  constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr std::size_t group = 3;
  std::string text;
  text.reserve((bytes.size() + group - 1) / group * 4);
  for (std::size_t at = 0; at < bytes.size(); at += group) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < group; ++i) {
      word = word << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    for (const unsigned shift : {18U, 12U, 6U, 0U}) text += letters[word >> shift & 0x3FU];
  }
  // The places for bytes that are not there.
  const std::size_t padding = (group - bytes.size() % group) % group;
  text.replace(text.size() - padding, padding, padding, '=');
  return text;
}

std::string bytes_of_hex(std::string_view digits) {
  std::string bytes;
  for (std::size_t at = 0; at + 1 < digits.size(); at += 2) {
    unsigned byte = 0;
    std::from_chars(digits.data() + at, digits.data() + at + 2, byte, 16);
    bytes += static_cast<char>(byte);
  }
  return bytes;
}
