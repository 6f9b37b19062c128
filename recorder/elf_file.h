#pragma once

#include <elf.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kzr {

/// Reads an ELF file of 64 bits piece by piece, and never beyond its end: what it says of itself may be
/// wrong.
class elf_file {
 public:
  /// A file that cannot be read has no sections.
  explicit elf_file(const std::string& path);
  elf_file(const elf_file&) = delete;
  elf_file& operator=(const elf_file&) = delete;
  ~elf_file();

  [[nodiscard]] const std::vector<Elf64_Shdr>& sections() const { return sections_; }

  /// What is in a section as so many `T`; empty when it is not all there.
  template <class T>
  [[nodiscard]] std::vector<T> read(const Elf64_Shdr& section) const {
    return read_table<T>(section.sh_offset, section.sh_size / sizeof(T));
  }
  /// The texts that a table refers to, as one text in which each has a zero byte behind it.
  [[nodiscard]] std::string read_texts_of(const Elf64_Shdr& table) const;

 private:
  template <class T>
  [[nodiscard]] std::vector<T> read_table(std::uint64_t offset, std::uint64_t count) const {
    if (count > size_bytes_ / sizeof(T)) return {};
    std::vector<T> table(count);
    if (!read_bytes(offset, table.data(), count * sizeof(T))) table.clear();
    return table;
  }
  [[nodiscard]] bool read_bytes(std::uint64_t offset, void* bytes, std::uint64_t count) const;

  int file_;
  std::uint64_t size_bytes_ = 0;
  std::vector<Elf64_Shdr> sections_;
};

/// The libraries that the executable or library `path` asks for by itself.
[[nodiscard]] std::vector<std::string> find_needed_libraries(const std::string& path);

}  // namespace kzr
