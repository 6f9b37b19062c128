#include "recorder/image_list.h"

#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <utility>

namespace kzr {
namespace {

std::string path_of_executable() {
  std::array<char, 4096> path;
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
  return length <= 0 ? std::string() : std::string(path.data(), static_cast<std::size_t>(length));
}

/// The path of the file that is in memory at `address`, empty when the system does not tell.
std::string path_of_file_at(std::uint64_t address) {
  std::ifstream mappings("/proc/self/maps");
  for (std::string line; std::getline(mappings, line);) {
    // "<first>-<end> <permissions> <offset> <device> <inode> <path>"
    char* behind_first = nullptr;
    const std::uint64_t first = std::strtoull(line.c_str(), &behind_first, 16);
    const std::uint64_t end = *behind_first == '-' ? std::strtoull(behind_first + 1, nullptr, 16) : 0;
    if (address < first || address >= end) continue;
    const std::size_t path = line.find('/');
    return path == std::string::npos ? std::string() : line.substr(path);
  }
  return {};
}

int add_image(dl_phdr_info* info, std::size_t, void* images) {
  auto& list = *static_cast<std::vector<loaded_image>*>(images);
  loaded_image image;
  // The loader does not name the executable, which comes first.
  const bool is_executable = list.empty();
  image.path = is_executable ? path_of_executable() : std::string(info->dlpi_name);
  image.base = info->dlpi_addr;
  std::uint64_t first = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t end = 0;
  for (std::size_t index = 0; index < info->dlpi_phnum; ++index) {
    const ElfW(Phdr)& segment = info->dlpi_phdr[index];
    if (segment.p_type != PT_LOAD) continue;
    first = std::min<std::uint64_t>(first, segment.p_vaddr);
    end = std::max<std::uint64_t>(end, segment.p_vaddr + segment.p_memsz);
  }
  if (end == 0) return 0;
  image.first_address = image.base + first;
  image.last_address = image.base + end - 1;
  if (is_executable || image.path.find('/') != std::string::npos) list.push_back(std::move(image));
  return 0;
}

}  // namespace

std::vector<loaded_image> find_loaded_images() {
  std::vector<loaded_image> images;
  dl_iterate_phdr(add_image, &images);
  // The loader names a library as it found it, maybe from another working directory than today's.
  for (loaded_image& image : images) {
    if (image.path.empty() || image.path.front() == '/') continue;
    if (std::string path = path_of_file_at(image.first_address); !path.empty()) image.path = std::move(path);
  }
  return images;
}

std::string describe_image(const loaded_image& image, std::uint64_t tick) {
  if (image.path.empty() || image.path.find_first_of(",\r\n") != std::string::npos) return {};
  // Readers subtract the first address, or nothing from addresses that are the file's own already.
  const bool is_moved = image.base != 0;
  return image.path + ',' + std::to_string(is_moved ? image.base : image.first_address) + ',' +
         std::to_string(image.last_address) + ',' + std::to_string(tick) + (is_moved ? ",1\n" : ",0\n");
}

}  // namespace kzr
