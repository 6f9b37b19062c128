#include "processor/image_table.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace {

constexpr std::size_t used_fields = 5;

/// The first fields of a line; fewer when the line has fewer.
std::vector<std::string> split_at_commas(const std::string& line) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  while (fields.size() < used_fields && start <= line.size()) {
    const std::size_t comma = std::min(line.find(',', start), line.size());
    fields.push_back(line.substr(start, comma - start));
    start = comma + 1;
  }
  return fields;
}

}  // namespace

void image_table::read(std::istream& list) {
  for (std::string line; std::getline(list, line);) {
    const std::vector<std::string> fields = split_at_commas(line);
    if (fields.size() < used_fields) continue;
    images_.push_back({.name = fields[0],
                       .first_address = std::strtoull(fields[1].c_str(), nullptr, 10),
                       .last_address = std::strtoull(fields[2].c_str(), nullptr, 10),
                       .load_time = std::stoull(fields[3]),
                       .relocatable = std::stoi(fields[4]) != 0});
  }
}

const image_table::image* image_table::find_image(std::uint64_t address, std::uint64_t time) const {
  const auto found = std::find_if(images_.begin(), images_.end(), [address, time](const image& candidate) {
    return candidate.load_time <= time && candidate.first_address <= address &&
           address <= candidate.last_address;
  });
  return found == images_.end() ? nullptr : &*found;
}

std::optional<image_table::location> image_table::find(std::uint64_t address, std::uint64_t time) const {
  const image* const found = find_image(address, time);
  if (found == nullptr) return std::nullopt;
  return location{found->name, found->relocatable ? address - found->first_address : address};
}

const std::string& image_table::add_imageinfo(std::uint64_t address, const std::string& prefix,
                                              std::uint64_t time) {
  const image* const found = find_image(address, time);
  if (found == nullptr) return last_offset_;
  last_offset_ = found->relocatable
                     ? std::to_string(static_cast<std::int64_t>(address - found->first_address))
                     : std::to_string(address);
  if (known_addresses_.insert(address).second) images_by_offset_[prefix + last_offset_] = found->name;
  return last_offset_;
}

image_table read_image_table() {
  image_table images;
  if (const char* const results = std::getenv("QZD_DIR")) {
    std::ifstream list(std::string(results) + "/imageload.csv");
    images.read(list);
  }
  return images;
}

std::string zup_output_path() {
  const char* const results = std::getenv("QZD_DIR");
  return results == nullptr ? std::string() : std::string(results) + "/zup_result.csv";
}

bool write_zup_output(const image_table& images) {
  const std::string path = zup_output_path();
  if (path.empty()) return true;
  std::ofstream file(path);
  for (const auto& [key, image] : images.images_by_offset()) file << key << ',' << image << std::endl;
  file.close();
  return !file.fail();
}
