#pragma once

#include <string_view>

/// The texts that the page of a report is made of, as they stand in the files of `page/`, and their SHA-256
/// in hexadecimal. CMake writes what returns them.
struct page_text {
  /// The page with marks, such as `@STYLE@`, where the rest goes.
  [[nodiscard]] static std::string_view html();
  [[nodiscard]] static std::string_view html_sha256();
  [[nodiscard]] static std::string_view style();
  [[nodiscard]] static std::string_view style_sha256();
  [[nodiscard]] static std::string_view program();
  [[nodiscard]] static std::string_view program_sha256();
  /// The script that says that all parts are there.
  [[nodiscard]] static std::string_view end();
  [[nodiscard]] static std::string_view end_sha256();
};
