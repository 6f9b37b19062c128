#include "common/huge_pages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace {

TEST(block_source, gives_each_block_away_once) {
  block_source source;
  std::vector<std::unique_ptr<char, free_deleter>> blocks;
  std::vector<std::size_t> sizes;
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    const block_source::block taken = source.take();
    blocks.emplace_back(taken.memory);
    std::memset(taken.memory, letter, taken.size_bytes);
    sizes.push_back(taken.size_bytes);
  }
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    EXPECT_EQ(blocks[i].get()[0], static_cast<char>('a' + i));
    EXPECT_EQ(blocks[i].get()[sizes[i] - 1], static_cast<char>('a' + i));
  }
  EXPECT_EQ(sizes.front(), block_source::small_block_bytes);
  EXPECT_EQ(sizes.back(), huge_page_bytes);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(blocks.back().get()) % huge_page_bytes, 0u);
  EXPECT_TRUE(std::is_sorted(sizes.begin(), sizes.end()));
}

}  // namespace
