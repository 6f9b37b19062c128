#include "recorder/elf_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

namespace kzr {

elf_file::elf_file(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  struct stat status {};
  if (file_ < 0 || fstat(file_, &status) != 0 || !S_ISREG(status.st_mode)) return;
  size_bytes_ = static_cast<std::uint64_t>(status.st_size);
  Elf64_Ehdr header{};
  if (!read_bytes(0, &header, sizeof header)) return;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64 ||
      header.e_shentsize != sizeof(Elf64_Shdr)) {
    return;
  }
  sections_ = read_table<Elf64_Shdr>(header.e_shoff, header.e_shnum);
}

elf_file::~elf_file() {
  if (file_ >= 0) close(file_);
}

std::string elf_file::read_texts_of(const Elf64_Shdr& table) const {
  if (table.sh_link >= sections_.size()) return {};
  const std::vector<char> texts = read<char>(sections_[table.sh_link]);
  return {texts.begin(), texts.end()};
}

bool elf_file::read_bytes(std::uint64_t offset, void* bytes, std::uint64_t count) const {
  if (count > size_bytes_ || offset > size_bytes_ - count) return false;
  auto* to = static_cast<char*>(bytes);
  while (count > 0) {
    const ssize_t got = pread(file_, to, count, static_cast<off_t>(offset));
    if (got <= 0) return false;
    to += got;
    offset += static_cast<std::uint64_t>(got);
    count -= static_cast<std::uint64_t>(got);
  }
  return true;
}

std::vector<std::string> find_needed_libraries(const std::string& path) {
  const elf_file file(path);
  std::vector<std::string> libraries;
  for (const Elf64_Shdr& section : file.sections()) {
    if (section.sh_type != SHT_DYNAMIC) continue;
    const std::string names = file.read_texts_of(section);
    for (const Elf64_Dyn& entry : file.read<Elf64_Dyn>(section)) {
      if (entry.d_tag == DT_NEEDED && entry.d_un.d_val < names.size()) {
        libraries.emplace_back(names.c_str() + entry.d_un.d_val);
      }
    }
  }
  return libraries;
}

}  // namespace kzr
