#pragma once

#include <filesystem>

namespace kzr {

/// Makes the directory of a run below `parent`, named after the local time. Another run of the same second
/// takes the next free one. Throws std::filesystem::filesystem_error when it cannot be made.
[[nodiscard]] std::filesystem::path create_run_directory(const std::filesystem::path& parent);

/// Makes `wanted` the directory of a run, or with ".2", ".3" and so on behind its name when it is there
/// already, for instance as the run of another process. Throws as above.
[[nodiscard]] std::filesystem::path create_numbered_directory(const std::filesystem::path& wanted);

}  // namespace kzr
