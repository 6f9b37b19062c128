#include <gtest/gtest.h>

#include <array>
#include <cctype>

#include "reader/record_descriptions.h"
#include "support/recorded.h"

namespace {

/// Whether `text` has the word, not as a part of another one.
bool has_word(const std::string& text, const std::string& word) {
  const auto is_in_word = [&text](std::size_t at) {
    return at < text.size() && (std::isalnum(static_cast<unsigned char>(text[at])) != 0 || text[at] == '_');
  };
  for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
    if (!is_in_word(at - 1) && !is_in_word(at + word.size())) return true;
  }
  return false;
}

// Everything that is not made from the table of kinds and has to follow it.
TEST(record_kinds, are_recorded_completed_and_documented) {
  const std::string project = std::string(KZR_GOLDEN_DIR) + "/../../";
  const std::string recorded = every_kind(kzr::trace_form::xml);
  const std::string page = read_file(project + "docs/trace-format.md");
  for (std::size_t kind = 0; kind < record_descriptions.size(); ++kind) {
    const std::string name = record_descriptions[kind].name;
    SCOPED_TRACE(name);
    EXPECT_TRUE(has_word(recorded, name)) << "the recorder, or the records of every_kind()";
    EXPECT_NE(page.find("\n| " + std::to_string(kind) + " | `" + name + "` |"), std::string::npos)
        << "docs/trace-format.md";
    for (const std::string shell : {"bash", "fish", "zsh"}) {
      EXPECT_TRUE(has_word(read_file(project + "completions/kzr." + shell), name))
          << "completions/kzr." << shell;
    }
  }
}

}  // namespace
