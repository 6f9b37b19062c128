#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kzr {

/// A program image in the memory of this process: the executable or a library.
struct loaded_image {
  std::string path;
  std::uint64_t first_address = 0;
  std::uint64_t last_address = 0;
  std::uint64_t base = 0;  ///< an address less this is one of the file's own

  [[nodiscard]] bool holds(std::uint64_t address) const {
    return first_address <= address && address <= last_address;
  }
};

/// The images that are loaded now, the executable first. Images without a file are not among them.
[[nodiscard]] std::vector<loaded_image> find_loaded_images();

/// The line of `imageload.csv` for an image that is there from `tick` on; empty for a path that such a line
/// cannot hold.
[[nodiscard]] std::string describe_image(const loaded_image& image, std::uint64_t tick);

}  // namespace kzr
