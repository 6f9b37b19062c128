#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// How many bytes the UTF-8 character at `at` has, which is inside `text`; 0 where there is none.
[[nodiscard]] std::size_t utf8_character_bytes(std::string_view text, std::size_t at);

/// `text` with U+FFFD in place of each byte that belongs to no UTF-8 character.
[[nodiscard]] std::string valid_utf8(std::string_view text);
