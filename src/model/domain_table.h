#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/hash.h"

/// What a traced domain is about; decides which of its records are looked at, and how.
enum class DomainType : std::uint8_t { unknown = 0, pwl = 1, pwl_flow = 2, pwl_algorithm = 3, openmp = 4 };

/// The name of the type: "pwl.flow", "openmp", ..., "unknown".
[[nodiscard]] std::string_view domain_text(DomainType type);

/// The type of a domain with that name.
[[nodiscard]] DomainType classify_domain(std::string_view name);
[[nodiscard]] DomainType classify_domain(std::wstring_view name);

/// The domains of a run by their handles, and by a small index for each that stays the same when a domain is
/// registered again.
class domain_table {
 public:
  /// Records the type of a domain, in place of an earlier one.
  void set_type(std::uint64_t handle, DomainType type) { types_[index_of(handle)] = type; }
  /// The type of a domain, `unknown` for one that was never registered.
  [[nodiscard]] DomainType type_of(std::uint64_t handle) { return types_[index_of(handle)]; }

  /// The index of a domain, which is entered when it is not known.
  [[nodiscard]] std::uint32_t index_of(std::uint64_t handle);
  /// The type of the domain with that index.
  [[nodiscard]] DomainType type_at(std::uint32_t index) const { return types_[index]; }

 private:
  std::vector<DomainType> types_;
  std::unordered_map<std::uint64_t, std::uint32_t, seeded_hash> indexes_;
  /// Neighbouring records mostly share their domain. No index is asked for before there is one.
  std::pair<std::uint64_t, std::uint32_t> last_{};
};
