#pragma once

#include <stdlib.h>

#include <filesystem>
#include <string>

namespace kzr::bench {

/// A directory for the files of one benchmark, on the memory file system where there is one. Removed with all
/// that is in it at the end of its life.
class scratch_directory {
 public:
  scratch_directory() {
    const bool has_memory = std::filesystem::is_directory("/dev/shm");
    path_ = (has_memory ? "/dev/shm" : std::filesystem::temp_directory_path().string()) + "/kzr_micro.XXXXXX";
    if (mkdtemp(path_.data()) == nullptr) throw std::filesystem::filesystem_error("mkdtemp", path_, {});
  }
  scratch_directory(const scratch_directory&) = delete;
  scratch_directory& operator=(const scratch_directory&) = delete;
  ~scratch_directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace kzr::bench
