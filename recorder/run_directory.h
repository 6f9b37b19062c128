#pragma once

#include <filesystem>

namespace kzr {

/// Makes the directory of a run below `parent`, named after the local time. Another run of the same second
/// takes the next free one. Throws std::filesystem::filesystem_error when it cannot be made.
[[nodiscard]] std::filesystem::path create_run_directory(const std::filesystem::path& parent);

/// The same directory by a path that ends in its name, so that ".2" can stand behind it: without a slash at
/// the end, and not by way of "." or "..". An empty path stays empty.
[[nodiscard]] std::filesystem::path path_with_name(const std::filesystem::path& directory);

}  // namespace kzr
