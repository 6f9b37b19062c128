#pragma once

#include <bit>
#include <cstdint>

#include "common/onx_id.h"

/// A number of this process alone, so that no trace can be made whose keys all land in one slot.
extern const std::uint64_t hash_seed;

/// Both halves of the product of two numbers in one, on which all bits of both have an influence.
[[nodiscard]] inline std::uint64_t fold_product(std::uint64_t a, std::uint64_t b) {
  __extension__ using wide_number = unsigned __int128;
  const wide_number product = wide_number{a} * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// Hash of the key types that the program's tables use; differs from one run of the program to the next.
struct seeded_hash {
  std::uint64_t operator()(std::uint64_t number) const {
    return fold_product(number ^ hash_seed, 0x9e3779b97f4a7c15U);
  }
  std::uint64_t operator()(const ___onx_id& id) const {
    return fold_product(fold_product(id.d1 ^ hash_seed, id.d2 ^ std::rotl(hash_seed, 32)) ^ id.d3,
                        0x9e3779b97f4a7c15U);
  }
};
