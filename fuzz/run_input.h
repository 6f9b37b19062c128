#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A whole run in one fuzz input: a byte of flags, then the trace files and the list of images with a
/// separator between each two.
struct run_input {
  static constexpr std::string_view separator = "|KZR|";
  static constexpr std::string_view image_list_mark = "images:";
  static constexpr std::uint8_t omp_flag = 1;
  static constexpr std::uint8_t results_directory_flag = 2;

  bool omp_experimental = false;
  bool has_results_directory = false;
  std::string image_list;
  std::vector<std::string> trace_files;

  [[nodiscard]] static run_input parse(std::string_view bytes) {
    run_input run;
    if (bytes.empty()) return run;
    const auto flags = static_cast<std::uint8_t>(bytes.front());
    run.omp_experimental = (flags & omp_flag) != 0;
    run.has_results_directory = (flags & results_directory_flag) != 0;
    bytes.remove_prefix(1);
    for (bool more = true; more;) {
      const std::size_t end = bytes.find(separator);
      more = end != std::string_view::npos;
      const std::string_view section = bytes.substr(0, end);
      if (section.starts_with(image_list_mark)) {
        run.image_list = section.substr(image_list_mark.size());
      } else {
        run.trace_files.emplace_back(section);
      }
      if (more) bytes.remove_prefix(end + separator.size());
    }
    return run;
  }

  [[nodiscard]] std::string bytes() const {
    std::string text(1, static_cast<char>((omp_experimental ? omp_flag : 0) |
                                          (has_results_directory ? results_directory_flag : 0)));
    text += image_list_mark;
    text += image_list;
    for (const std::string& file : trace_files) {
      text += separator;
      text += file;
    }
    return text;
  }
};
