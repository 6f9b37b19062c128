#include "processor/image_table.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

std::vector<std::string> split_at_commas(const std::string& line) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  for (std::size_t comma; (comma = line.find(',', start)) != std::string::npos; start = comma + 1) {
    fields.push_back(line.substr(start, comma - start));
  }
  fields.push_back(line.substr(start));
  return fields;
}

}  // namespace

void image_table::read(std::istream& list) {
  constexpr std::size_t needed_fields = 5;
  for (std::string line; std::getline(list, line);) {
    const std::vector<std::string> fields = split_at_commas(line);
    if (fields.size() < needed_fields) continue;
    images_.push_back({.name = fields[0],
                       .first_address = std::strtoull(fields[1].c_str(), nullptr, 10),
                       .last_address = std::strtoull(fields[2].c_str(), nullptr, 10),
                       .load_time = std::stoull(fields[3]),
                       .relocatable = std::stoi(fields[4]) != 0});
  }
}

std::string image_table::add_imageinfo(std::uint64_t address, const std::string& prefix, std::uint64_t time) {
  const auto found = std::find_if(images_.begin(), images_.end(), [address, time](const image& candidate) {
    return candidate.load_time <= time && candidate.first_address <= address &&
           address <= candidate.last_address;
  });
  if (found == images_.end()) return last_offset_;
  const std::string address_text = std::to_string(address);
  last_offset_ = found->relocatable
                     ? std::to_string(static_cast<std::int64_t>(address - found->first_address))
                     : address_text;
  if (offsets_by_address_.emplace(address_text, last_offset_).second) {
    images_by_offset_[prefix + last_offset_] = found->name;
  }
  return last_offset_;
}
