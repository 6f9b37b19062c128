#pragma once

#include <filesystem>
#include <optional>
#include <string>

/// LLVM's OpenMP runtime, which has the interface for tools; empty when it is not installed.
[[nodiscard]] std::optional<std::filesystem::path> find_llvm_runtime();

/// The library that records, which lies beside this program where it was built or installed. Throws
/// std::runtime_error when it is not there.
[[nodiscard]] std::filesystem::path find_recording_library();

/// True when `program` (a path, or a name to be looked for in PATH) asks for a runtime by itself that has
/// the interface for tools.
[[nodiscard]] bool asks_for_llvm_runtime(const std::string& program);
