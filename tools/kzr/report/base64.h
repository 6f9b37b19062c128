#pragma once

#include <string>
#include <string_view>

/// Any bytes as letters of base64, with padding.
[[nodiscard]] std::string base64(std::string_view bytes);

/// The bytes that hexadecimal digits stand for; there are two of them for each.
[[nodiscard]] std::string bytes_of_hex(std::string_view digits);
