#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "recorder/trace_encoder.h"

/// An encoder of one trace file: 1000 ticks per second, 4 hardware threads.
[[nodiscard]] inline kzr::trace_encoder recorded(kzr::trace_form form = kzr::trace_form::binary) {
  return {form, 1000, 4};
}

/// A small run with a record of every kind whose objects know each other. The wide string handle, at which
/// the converter ends, comes last.
[[nodiscard]] std::string every_kind(kzr::trace_form form);

/// Makes the file `path` hold exactly `bytes`; directories on the way are created.
void write_file(const std::filesystem::path& path, std::string_view bytes);

/// All bytes of the file `path`; a failed test when it cannot be read.
[[nodiscard]] std::string read_file(const std::filesystem::path& path);
