#include "processor/image_table.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "common/append_number.h"

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

std::string image_table::add_imageinfo(std::uint64_t address, const std::string& prefix, std::uint64_t time) {
  const auto found = std::find_if(images_.begin(), images_.end(), [address, time](const image& candidate) {
    return candidate.load_time <= time && candidate.first_address <= address &&
           address <= candidate.last_address;
  });
  if (found == images_.end()) return last_offset_;
  last_offset_.clear();
  if (found->relocatable) {
    append_number(last_offset_, static_cast<std::int64_t>(address - found->first_address));
  } else {
    append_number(last_offset_, address);
  }
  bool& known = known_addresses_.place(address);
  if (!known) images_by_offset_[prefix + last_offset_] = found->name;
  known = true;
  return last_offset_;
}
