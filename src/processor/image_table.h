#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "common/hash.h"

/// The images that the traced program had loaded, and the code addresses that were found in them.
class image_table {
 public:
  /// Reads a list of images: name, first address, last address, load time, relocatable flag, separated by
  /// commas, an image a line. Shorter lines are skipped. A load time or flag that is no number throws the
  /// exception of the standard conversion.
  void read(std::istream& list);

  /// Code in an image.
  struct location {
    std::string image;
    std::uint64_t offset = 0;  ///< in the image, or the address itself where that cannot be loaded elsewhere
  };
  /// Where in the first image that holds it and was loaded by `time` the code at `address` is.
  [[nodiscard]] std::optional<location> find(std::uint64_t address, std::uint64_t time) const;

  /// The offset of `address` in the first image that holds it and was loaded by `time`, in decimal. Where no
  /// image does, the result of the call before; that is meant.
  const std::string& add_imageinfo(std::uint64_t address, const std::string& prefix, std::uint64_t time);

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

  [[nodiscard]] const image* find_image(std::uint64_t address, std::uint64_t time) const;

  std::vector<image> images_;
  std::unordered_set<std::uint64_t, seeded_hash> known_addresses_;
  std::unordered_map<std::string, std::string> images_by_offset_{10};
  std::string last_offset_;
};

/// The images of the results directory that QZD_DIR names, from its "imageload.csv"; none without either.
/// Throws as `image_table::read` does.
[[nodiscard]] image_table read_image_table();

/// The file for the list of resolved code addresses, in the results directory that QZD_DIR names; empty when
/// that is not set.
[[nodiscard]] std::string zup_output_path();

/// Writes the list of resolved code addresses to that file, if there is to be one. False when some of it
/// could not be written.
bool write_zup_output(const image_table& images);
