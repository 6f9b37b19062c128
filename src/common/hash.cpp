#include "common/hash.h"

#include <random>

const std::uint64_t hash_seed = [] {
  std::random_device random;
  return std::uint64_t{random()} << 32 | random();
}();
