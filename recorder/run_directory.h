#pragma once

#include <filesystem>

namespace kzr {

/// Makes the directory of a run below `parent`, named after the local time. Another run of the same second
/// takes the next free one. Throws std::filesystem::filesystem_error when it cannot be made.
[[nodiscard]] std::filesystem::path create_run_directory(const std::filesystem::path& parent);

}  // namespace kzr
