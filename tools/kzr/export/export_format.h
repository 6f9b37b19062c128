#pragma once

#include <span>
#include <string>
#include <string_view>

class byte_sink;
struct exported_run;

/// A form in which a run can be exported. It is written either as one stream of bytes, which the caller
/// closes, or at a path where nothing is yet, as a file or folder. What is refused or cannot be written comes
/// as an exception; then the caller removes what is there already.
struct export_format {
  const char* name;
  const char* suffix;   ///< of the default name, without its point
  const char* readers;  ///< the tools that open it as it is
  void (*write_stream)(const exported_run& run, byte_sink& out) = nullptr;
  void (*write_path)(const exported_run& run, const std::string& path) = nullptr;
  bool is_folder = false;
  bool needs_begin_order = false;      ///< of the executions over all threads
  bool is_compressed_by_name = false;  ///< with gzip, where the path ends in `.gz`
};

/// All of them, in the order of the help.
[[nodiscard]] std::span<const export_format> export_formats();

/// The format of that name; null for none.
[[nodiscard]] const export_format* find_export_format(std::string_view name);
