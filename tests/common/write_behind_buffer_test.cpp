#include "common/write_behind_buffer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <ostream>
#include <random>
#include <string>

#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

/// A text of `size` letters that does not repeat within a block.
std::string some_text(std::size_t size) {
  std::mt19937_64 random(size);
  std::string text(size, ' ');
  for (char& letter : text) letter = static_cast<char>('a' + random() % 26);
  return text;
}

/// Writes `text` in pieces of any size, single letters among them.
void write_in_pieces(std::ostream& stream, std::string_view text) {
  std::mt19937_64 random(1);
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, random() % 3 == 0 ? 1 : random() % 200'000);
    if (piece.size() == 1) {
      stream.put(piece.front());
    } else {
      stream << piece;
    }
    text.remove_prefix(piece.size());
  }
}

TEST(write_behind_buffer, writes_every_letter_once_and_in_order) {
  constexpr std::size_t block = std::size_t{1} << 20;
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, block - 1, block, block + 1, 5 * block / 2, 4 * block}) {
    SCOPED_TRACE(size);
    const scratch_directory directory;
    write_file(directory / "out", "what was there before");
    const std::string text = some_text(size);
    {
      write_behind_buffer buffer((directory / "out").string());
      ASSERT_TRUE(buffer.is_open());
      std::ostream stream(&buffer);
      write_in_pieces(stream, text);
      EXPECT_TRUE(stream.good());
    }
    EXPECT_EQ(read_file(directory / "out"), text);
  }
}

// A file that can grow no more keeps what there was room for, and nothing from behind that.
TEST(write_behind_buffer, leaves_out_what_comes_after_a_failure) {
  constexpr std::size_t room = 1'500'000;
  const scratch_directory directory;
  const std::string text = some_text(6'000'000);
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{room, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  bool is_good = true;
  {
    write_behind_buffer buffer((directory / "out").string());
    std::ostream stream(&buffer);
    write_in_pieces(stream, text);
    is_good = stream.good();
  }
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_FALSE(is_good);
  EXPECT_EQ(read_file(directory / "out"), text.substr(0, room));
  EXPECT_FALSE(write_behind_buffer((directory / "none" / "out").string()).is_open());
}

}  // namespace
