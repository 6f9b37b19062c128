#include "recorder/ompt/symbol_table.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace kzr {
namespace {

/// Reads pieces of a file, never beyond its end.
class elf_file {
 public:
  explicit elf_file(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status {};
    if (file_ >= 0 && fstat(file_, &status) == 0 && S_ISREG(status.st_mode)) {
      size_bytes_ = static_cast<std::uint64_t>(status.st_size);
    }
  }
  elf_file(const elf_file&) = delete;
  elf_file& operator=(const elf_file&) = delete;
  ~elf_file() {
    if (file_ >= 0) close(file_);
  }

  [[nodiscard]] bool read(std::uint64_t offset, void* bytes, std::uint64_t count) const {
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

  template <class T>
  [[nodiscard]] std::vector<T> read_table(std::uint64_t offset, std::uint64_t count) const {
    if (count > size_bytes_ / sizeof(T)) return {};
    std::vector<T> table(count);
    if (!read(offset, table.data(), count * sizeof(T))) table.clear();
    return table;
  }

 private:
  int file_;
  std::uint64_t size_bytes_ = 0;
};

std::vector<Elf64_Shdr> read_sections(const elf_file& file) {
  Elf64_Ehdr header{};
  if (!file.read(0, &header, sizeof header)) return {};
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64 ||
      header.e_shentsize != sizeof(Elf64_Shdr)) {
    return {};
  }
  return file.read_table<Elf64_Shdr>(header.e_shoff, header.e_shnum);
}

}  // namespace

symbol_table::symbol_table(const std::string& path) {
  const elf_file file(path);
  const std::vector<Elf64_Shdr> sections = read_sections(file);
  const Elf64_Shdr* table = nullptr;
  for (const Elf64_Shdr& section : sections) {
    if (section.sh_type == SHT_SYMTAB || (section.sh_type == SHT_DYNSYM && table == nullptr)) {
      table = &section;
    }
  }
  if (table == nullptr || table->sh_link >= sections.size()) return;
  const Elf64_Shdr& texts = sections[table->sh_link];
  const std::vector<char> names = file.read_table<char>(texts.sh_offset, texts.sh_size);
  names_.assign(names.begin(), names.end());
  for (const Elf64_Sym& symbol :
       file.read_table<Elf64_Sym>(table->sh_offset, table->sh_size / sizeof(Elf64_Sym))) {
    const bool is_code = ELF64_ST_TYPE(symbol.st_info) == STT_FUNC && symbol.st_shndx != SHN_UNDEF;
    if (is_code && symbol.st_size > 0 && symbol.st_name < names_.size()) {
      functions_.push_back({symbol.st_value, symbol.st_size, symbol.st_name});
    }
  }
  std::stable_sort(functions_.begin(), functions_.end(), [](const function& left, const function& right) {
    return left.first_address < right.first_address;
  });
}

std::string_view symbol_table::find(std::uint64_t address) const {
  const auto next = std::upper_bound(
      functions_.begin(), functions_.end(), address,
      [](std::uint64_t wanted, const function& other) { return wanted < other.first_address; });
  if (next == functions_.begin()) return {};
  const function& before = *std::prev(next);
  if (address - before.first_address >= before.size_bytes) return {};
  return names_.c_str() + before.name;
}

}  // namespace kzr
