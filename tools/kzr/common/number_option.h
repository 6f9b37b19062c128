#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <limits>
#include <optional>
#include <string>
#include <system_error>

/// `text` as a plain decimal number that is not negative; empty when it is none.
template <class Number>
[[nodiscard]] std::optional<Number> read_number(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || rest != end || number < 0) return std::nullopt;
  return number;
}

/// Lets only those numbers through, in the plainest form: the library itself takes negative ones for large
/// ones and those with a leading zero for octal ones.
template <class Number>
[[nodiscard]] CLI::Validator number_of() {
  return {[](std::string& text) -> std::string {
            const std::optional<Number> number = read_number<Number>(text);
            if (!number) {
              return '"' + text + "\" is no whole number from 0 to " +
                     std::to_string(std::numeric_limits<Number>::max());
            }
            text = std::to_string(*number);
            return {};
          },
          ""};
}
