#include "xml/tokenizer.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>

#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

constexpr std::size_t block_bytes = std::size_t{64} * 1024;  // which the tokenizer reads at once

/// Calls `check` with a tokenizer of `characters` behind `before` and white space, as often as it takes to
/// have the end of a block at each of the characters.
template <class Check>
void at_every_end_of_block(const std::string& before, const std::string& characters, Check check) {
  const scratch_directory directory;
  for (std::size_t shift = 0; shift <= characters.size(); ++shift) {
    SCOPED_TRACE(characters + " " + std::to_string(shift));
    write_file(directory / "x", std::string(block_bytes - shift - before.size(), ' ') + before + characters);
    xml::tokenizer tokens((directory / "x").c_str());
    check(tokens);
  }
}

std::string tokens_of(xml::tokenizer& tokens) {
  std::string all;
  std::array<char, 1024> text{};
  for (;;) {
    const int code = tokens.next_token(text.data(), static_cast<int>(text.size()));
    all += std::to_string(code);
    if (code == xml::tokenizer::name || code == xml::tokenizer::quoted_string) {
      all.append("(").append(text.data()).append(")");
    }
    if (code == xml::tokenizer::end_of_input) return all;
    all += ' ';
  }
}

TEST(tokenizer, splits_characters_into_tokens_wherever_the_window_ends) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "-1"},
      {"<a b=\"c\" d = \"\" >", "98 110(a) 110(b) 61 34(c) 110(d) 61 34() 62 -1"},
      {"<?x?></ a/><a />", "120 110(x) 88 101 110(a/) 62 98 110(a) 69 -1"},
      {"/ >", "-1"},
      {"? >", "-1"},
      {"<!-- - -- > <a> ---><b", "99 98 110(b) -1"},
      {"<!-->", "99 -1"},
      {"<!-a", "-1"},
      {"\"a\\\"b\\\\c\" d\"", "34(a\"b\\c) 110(d\") -1"},
      {"\"cut\\", "34(cut) -1"},
      {"a=b?c", "110(a) 61 110(b) -1"},
      {"\xa0<a\xfe g\x7f\x80h\x01=", "98 110(a) 110(g) 110(h) 61 -1"},
      {"\"\xa0 \"", "34(\xa0 ) -1"},
      {"a\xff x", "110(a) -1"},
      {"\"a\xff\"", "34(a) -1"}};
  for (const auto& [characters, tokens] : cases) {
    at_every_end_of_block("", characters, [&expected = tokens](xml::tokenizer& split) {
      EXPECT_EQ(tokens_of(split), expected);
    });
  }
}

TEST(tokenizer, captures_text_with_markup_up_to_its_own_end_tag) {
  struct {
    const char* characters;
    const char* text;
    int next;
  } const cases[] = {{" a </x>", " a ", 101},
                     {"</x>", "", 101},
                     {"a<b c=\"d\">e</b>f</x>", "a<b c=\"d\">e</b>f", 101},
                     {"<b />g</x>", "<b />g", 101},
                     {"a/>b</x>", "a/>b", 101},
                     {"1 < 2 <= 3 <! <?</x>", "1 < 2 <= 3 <! <?", 101},
                     {"1<2</x></y>", "1<2</x>", 101},
                     {"<b><c></></b></x>", "<b><c></></b>", 101},
                     {"<<b></b></x>", "<<b></b>", 101},
                     {"cut <b", "cut <b", -1},
                     {"cut\xff</x>", "cut", -1}};
  for (const auto& c : cases) {
    at_every_end_of_block(">", c.characters, [&c](xml::tokenizer& tokens) {
      std::array<char, 64> text{};
      ASSERT_EQ(tokens.next_token(text.data(), static_cast<int>(text.size())), xml::tokenizer::tag_end);
      tokens.get_text(text.data(), static_cast<int>(text.size()));
      EXPECT_STREQ(text.data(), c.text);
      EXPECT_EQ(tokens.next_token(text.data(), static_cast<int>(text.size())), c.next);
    });
  }
}

TEST(tokenizer, drops_what_does_not_fit_and_says_so_of_texts) {
  std::array<char, 8> kept{};
  const auto said_by = [&kept](const std::string& characters, auto read) {
    const scratch_directory directory;
    write_file(directory / "x", characters);
    xml::tokenizer tokens((directory / "x").c_str());
    testing::internal::CaptureStdout();
    read(tokens);
    return std::string(kept.data()).append("|").append(testing::internal::GetCapturedStdout());
  };
  const auto token = [&](xml::tokenizer& t) { t.next_token(kept.data(), 4); };
  const auto text = [&](xml::tokenizer& t) { t.get_text(kept.data(), 5); };
  EXPECT_EQ(said_by("abcdef", token), "abc|");
  EXPECT_EQ(said_by("\"abcdef\"", token), "abc|");
  EXPECT_EQ(said_by("abc</", text), "abc|");
  EXPECT_EQ(said_by("abcdef</", text), "abc|WARNING: buffer too small for data, truncating\n");
}

}  // namespace
