#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kzr {

/// The functions in the symbol table of an ELF file, or in its dynamic one when it was stripped of the other.
class symbol_table {
 public:
  /// Reads the table of the file `path`; one that cannot be read or makes no sense has no functions.
  explicit symbol_table(const std::string& path);

  /// The name of the function whose code is at `address` (one of the file's own), empty when none is. Valid
  /// as long as the table.
  [[nodiscard]] std::string_view find(std::uint64_t address) const;

 private:
  struct function {
    std::uint64_t first_address;
    std::uint64_t size_bytes;
    std::uint64_t name;  ///< where in `names_`
  };

  std::vector<function> functions_;  ///< by address
  std::string names_;                ///< each with a zero byte behind it
};

}  // namespace kzr
