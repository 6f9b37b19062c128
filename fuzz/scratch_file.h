#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

/// A file in memory that holds the given bytes and can be opened by name.
class scratch_file {
 public:
  scratch_file(const std::uint8_t* data, std::size_t size) : file_(memfd_create("fuzzed", 0)) {
    if (file_ < 0 || write(file_, data, size) != static_cast<ssize_t>(size)) std::abort();
  }
  scratch_file(const scratch_file&) = delete;
  scratch_file& operator=(const scratch_file&) = delete;
  ~scratch_file() { close(file_); }

  [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(file_); }

 private:
  int file_;
};
