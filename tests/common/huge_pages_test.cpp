#include "common/huge_pages.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

TEST(huge_page_source, gives_each_page_away_once) {
  huge_page_source source;
  std::vector<std::unique_ptr<char, free_deleter>> pages;
  for (std::size_t i = 0; i < 5; ++i) {
    pages.emplace_back(source.take());
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pages.back().get()) % huge_page_bytes, 0u);
    std::memset(pages.back().get(), static_cast<int>('a' + i), huge_page_bytes);
  }
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(pages[i].get()[0], static_cast<char>('a' + i));
    EXPECT_EQ(pages[i].get()[huge_page_bytes - 1], static_cast<char>('a' + i));
  }
}

}  // namespace
