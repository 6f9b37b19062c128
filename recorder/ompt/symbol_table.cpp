#include "recorder/ompt/symbol_table.h"

#include <algorithm>

#include "recorder/elf_file.h"

namespace kzr {

symbol_table::symbol_table(const std::string& path) {
  const elf_file file(path);
  const Elf64_Shdr* table = nullptr;
  for (const Elf64_Shdr& section : file.sections()) {
    if (section.sh_type == SHT_SYMTAB || (section.sh_type == SHT_DYNSYM && table == nullptr)) {
      table = &section;
    }
  }
  if (table == nullptr) return;
  names_ = file.read_texts_of(*table);
  for (const Elf64_Sym& symbol : file.read<Elf64_Sym>(*table)) {
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
