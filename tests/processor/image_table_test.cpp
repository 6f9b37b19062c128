#include "processor/image_table.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace {

image_table listed(const std::string& text) {
  image_table images;
  std::istringstream list(text);
  images.read(list);
  return images;
}

TEST(image_table, keeps_the_last_offset_where_no_image_fits) {
  image_table images =
      listed("late.so,4096,8191,20,1\na.so,4096,8191,0,1\nexe,8193,9000,0,0\nb.so,5000,5000,0,0");
  EXPECT_EQ(images.add_imageinfo(9001, "pwl::", 10), "");
  struct {
    std::uint64_t address;
    std::uint64_t time;
    const char* offset;
  } const cases[] = {{5000, 10, "904"},  {4095, 10, "904"},  {4096, 10, "0"},    {8191, 10, "4095"},
                     {8192, 10, "4095"}, {8193, 10, "8193"}, {9000, 10, "9000"}, {9001, 10, "9000"},
                     {4097, 19, "1"},    {4098, 20, "2"},    {5000, 20, "904"}};
  for (const auto& [address, time, offset] : cases) {
    EXPECT_EQ(images.add_imageinfo(address, "pwl::", time), offset) << address;
  }
  EXPECT_EQ(images.images_by_offset(), (std::unordered_map<std::string, std::string>{{"pwl::904", "a.so"},
                                                                                     {"pwl::0", "a.so"},
                                                                                     {"pwl::4095", "a.so"},
                                                                                     {"pwl::8193", "exe"},
                                                                                     {"pwl::9000", "exe"},
                                                                                     {"pwl::1", "a.so"},
                                                                                     {"pwl::2", "late.so"}}));
}

TEST(image_table, notes_each_address_once_and_the_later_of_two_images) {
  image_table images = listed("a.so,100,199,0,1\nb.so,200,299,0,1");
  images.add_imageinfo(110, "pwl::", 0);
  images.add_imageinfo(110, "omp::", 0);  // the address is known already
  images.add_imageinfo(210, "pwl::", 0);
  EXPECT_EQ(images.images_by_offset(), (std::unordered_map<std::string, std::string>{{"pwl::10", "b.so"}}));
}

TEST(image_table, reads_what_it_can_of_each_line) {
  struct {
    const char* line;
    std::uint64_t address;
    const char* offset;  // empty when there is no such image
  } const cases[] = {{"a,0,9,0", 5, ""},
                     {"\n\nshort\na,0,9,0,1", 5, "5"},
                     {"a,0,9,0,1\r\n", 5, "5"},
                     {"a,x,9y,0,-1,more,", 5, "5"},
                     {"a,3,,0,1", 3, ""},
                     {"a,,,0,1", 0, "0"},
                     {"a,3,9,0, 0x", 5, "5"},
                     {"a,18446744073709551615,99999999999999999999,0,1", 18446744073709551615u, "0"},
                     {"a,1,18446744073709551615,0,1", 9223372036854775810u, "-9223372036854775807"}};
  for (const auto& [line, address, offset] : cases) {
    EXPECT_EQ(listed(line).add_imageinfo(address, "", 0), offset) << line;
  }
  for (const char* const line : {"a,0,9,,1", "a,0,9,x,1", "a,0,9,0,", "a,0,9,0,yes"}) {
    EXPECT_THROW(listed(line), std::invalid_argument) << line;
  }
  EXPECT_THROW(listed("a,0,9,18446744073709551616,1"), std::out_of_range);
  EXPECT_THROW(listed("a,0,9,0,2147483648"), std::out_of_range);
}

}  // namespace
