#include "xml/tokenizer.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>

#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

/// Hands out its characters one by one, so that every look ahead meets the end of the window.
class slow_tokenizer : public xml::tokenizer {
 public:
  explicit slow_tokenizer(const std::string& characters) : tokenizer("/dev/null"), characters_(characters) {}

 private:
  int getc() override {
    return taken_ < characters_.size() ? static_cast<signed char>(characters_[taken_++]) : -1;
  }
  std::string characters_;
  std::size_t taken_ = 0;
};

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
  const scratch_directory directory;
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
    slow_tokenizer slow(characters);
    EXPECT_EQ(tokens_of(slow), tokens) << characters;
    write_file(directory / "x", characters);
    xml::tokenizer fast((directory / "x").c_str());
    EXPECT_EQ(tokens_of(fast), tokens) << characters;
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
    SCOPED_TRACE(c.characters);
    slow_tokenizer tokens(c.characters);
    std::array<char, 64> text{};
    tokens.get_text(text.data(), static_cast<int>(text.size()));
    EXPECT_STREQ(text.data(), c.text);
    EXPECT_EQ(tokens.next_token(text.data(), static_cast<int>(text.size())), c.next);
  }
}

TEST(tokenizer, drops_what_does_not_fit_with_the_message_of_the_operation) {
  constexpr const char* too_small = "WARNING: buffer 4 is too small for string, truncating\n";
  constexpr const char* cut = "WARNING: buffer too small for data, truncating\n";
  std::array<char, 8> kept{};
  const auto said_by = [&kept](const std::string& characters, auto read) {
    slow_tokenizer tokens(characters);
    testing::internal::CaptureStdout();
    read(tokens);
    return std::string(kept.data()).append("|").append(testing::internal::GetCapturedStdout());
  };
  const auto token = [&](xml::tokenizer& t) { t.next_token(kept.data(), 4); };
  const auto string = [&](xml::tokenizer& t) { t.capture_string(kept.data(), 4); };
  const auto text = [&](xml::tokenizer& t) { t.get_text(kept.data(), 5); };
  EXPECT_EQ(said_by("abcdef", token), "abc|");
  EXPECT_EQ(said_by("\"abcdef\"", token), "abc|");
  EXPECT_EQ(said_by("\"abc\"", string), "abc|");
  EXPECT_EQ(said_by("\"abcd\\\"\"", string), "abc|" + std::string(too_small) + too_small);
  EXPECT_EQ(said_by("abc</", text), "abc|");
  EXPECT_EQ(said_by("abcdef</", text), "abc|" + std::string(cut));
}

}  // namespace
