#include "common/flat_index.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <vector>

namespace {

/// Numbers from 1 on under keys, in a table whose keys share their hashes as `hash` says.
class keyed_numbers {
  [[nodiscard]] auto has(std::uint64_t key) const {
    return [this, key](std::uint32_t number) { return keys_[number - 1] == key; };
  }

 public:
  explicit keyed_numbers(std::uint64_t (*hash)(std::uint64_t)) : hash_(hash) {}

  std::uint32_t put(std::uint64_t key) {
    keys_.push_back(key);
    return index_.put(hash_(key), static_cast<std::uint32_t>(keys_.size()), has(key));
  }
  [[nodiscard]] std::uint32_t find(std::uint64_t key) const { return index_.find(hash_(key), has(key)); }
  std::uint32_t erase(std::uint64_t key) { return index_.erase(hash_(key), has(key)); }
  [[nodiscard]] std::size_t size() const { return index_.size(); }

 private:
  std::uint64_t (*hash_)(std::uint64_t);
  flat_index index_;
  std::vector<std::uint64_t> keys_;
};

// Against a map, with many keys of one hash, hashes that all lie at the end of the table, and spread ones.
TEST(flat_index, finds_what_was_put_last_under_a_key) {
  const std::vector<std::uint64_t (*)(std::uint64_t)> hashes = {
      [](std::uint64_t) { return std::uint64_t{0}; }, [](std::uint64_t key) { return ~(key % 3 << 32); },
      [](std::uint64_t key) { return key * 0x9e3779b97f4a7c15U; }};
  for (const auto hash : hashes) {
    keyed_numbers numbers(hash);
    std::map<std::uint64_t, std::uint32_t> expected;
    std::mt19937_64 random(1);
    EXPECT_EQ(numbers.find(1), 0u);
    EXPECT_EQ(numbers.erase(1), 0u);
    for (std::uint32_t number = 1; number <= 2'000; ++number) {
      const std::uint64_t key = random() % 400;
      EXPECT_EQ(numbers.put(key), expected[key]);
      expected[key] = number;
      const std::uint64_t other = random() % 400;
      EXPECT_EQ(numbers.erase(other), expected[other]);
      expected.erase(other);
    }
    for (std::uint64_t key = 0; key < 400; ++key) {
      EXPECT_EQ(numbers.find(key), expected.contains(key) ? expected[key] : 0u);
    }
    std::erase_if(expected, [](const auto& entry) { return entry.second == 0; });
    EXPECT_EQ(numbers.size(), expected.size());
  }
}

}  // namespace
