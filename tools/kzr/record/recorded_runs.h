#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

/// One process's recording.
struct recorded_process {
  std::filesystem::path directory;
  std::size_t threads = 0;
  std::uintmax_t size_bytes = 0;
  /// LLVM's OpenMP runtime was there beside GCC's, and answered in its place.
  bool replaced_runtime = false;
};

/// The directory that a recording goes to, and those of further processes, which have ".2" and so on behind
/// its name.
class recorded_runs {
 public:
  /// Makes `directory`, or one named after the time when it is empty. Throws std::runtime_error when it holds
  /// something already or cannot be made.
  explicit recorded_runs(const std::filesystem::path& directory);

  /// As it was given, or its name.
  [[nodiscard]] const std::filesystem::path& directory() const { return directory_; }

  /// The recordings that were made since. Removes the directories that were made for one and are empty.
  [[nodiscard]] std::vector<recorded_process> collect() const;

 private:
  [[nodiscard]] std::set<std::filesystem::path> find_further() const;

  std::filesystem::path directory_;
  std::vector<std::filesystem::path> made_here_;  ///< the directory and those around it, inner ones first
  std::set<std::filesystem::path> further_before_;
};
