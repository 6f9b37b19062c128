#pragma once

#include <filesystem>

/// A fresh directory for one test, removed with all it holds when the object goes.
class scratch_directory {
 public:
  scratch_directory();
  scratch_directory(const scratch_directory&) = delete;
  scratch_directory& operator=(const scratch_directory&) = delete;
  ~scratch_directory();

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  [[nodiscard]] std::filesystem::path operator/(const std::filesystem::path& name) const {
    return path_ / name;
  }

 private:
  std::filesystem::path path_;
};
