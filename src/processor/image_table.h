#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/flat_map.h"

/// The images that the traced program had loaded, and the code addresses that were found in them.
class image_table {
 public:
  /// Reads a list of images: name, first address, last address, load time, relocatable flag, separated by
  /// commas, an image a line. Shorter lines are skipped. A load time or flag that is no number throws the
  /// exception of the standard conversion.
  void read(std::istream& list);

  /// The offset of `address` in the first image that holds it and was loaded by `time`, in decimal. Where no
  /// image does, the result of the call before; that is meant.
  std::string add_imageinfo(std::uint64_t address, const std::string& prefix, std::uint64_t time);

  /// Image names by prefix and offset. Its own order of iteration is the order of the output.
  [[nodiscard]] const std::unordered_map<std::string, std::string>& images_by_offset() const {
    return images_by_offset_;
  }

 private:
  struct image {
    std::string name;
    std::uint64_t first_address;
    std::uint64_t last_address;
    std::uint64_t load_time;
    bool relocatable;
  };

  std::vector<image> images_;
  flat_map<std::uint64_t, bool> known_addresses_;
  std::unordered_map<std::string, std::string> images_by_offset_{10};
  std::string last_offset_;
};
