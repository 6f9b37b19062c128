#include "model/string_handles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

/// The sets that hold `handle`, a letter each.
std::string sets_of(const string_handles& handles, std::uint64_t handle) {
  std::string sets;
  if (handles.is_input_port(handle)) sets += 'i';
  if (handles.is_output_port(handle)) sets += 'o';
  if (handles.is_code_address(handle)) sets += 'c';
  if (handles.is_parallel_region(handle)) sets += 'P';
  if (handles.is_implicit_task(handle)) sets += 'I';
  if (handles.is_explicit_task(handle)) sets += 'E';
  return sets;
}

// In the order of `vocabulary_word`.
const std::vector<std::string> words = [] {
  std::istringstream lines(
      "graph\ncomposite_node\nopencl_node\nasync_node\nomp_barrier\npriority_queue_node\nsequencer_node\n"
      "queue_node\nwrite_once_node\nsplit_node\ncode_address\nobject_name\njoin_node (queueing)\n"
      "join_node (reserving)\njoin_node (tag_matching)\n");
  std::vector<std::string> all;
  for (std::string line; std::getline(lines, line);) all.push_back(line);
  return all;
}();

TEST(string_handles, know_their_vocabulary) {
  string_handles handles;
  ASSERT_EQ(words.size(), static_cast<std::size_t>(vocabulary_word::none));
  for (std::uint64_t handle = 0; handle < words.size(); ++handle) {  // zero is a handle like any other
    const auto word = static_cast<vocabulary_word>(handle);
    EXPECT_EQ(handles.remembered(word), 18446744073709551615u);
    EXPECT_EQ(handles.add(handle, words[handle].c_str()), word);
    const std::string& text = words[handle];
    EXPECT_EQ(sets_of(handles, handle), text == "code_address" ? "c" : "");
  }
  // Nothing later took over a word, and a code address is known by its set alone.
  for (std::uint64_t handle = 0; handle < words.size(); ++handle) {
    const auto word = static_cast<vocabulary_word>(handle);
    EXPECT_EQ(handles.remembered(word),
              word == vocabulary_word::code_address ? string_handles::unset : handle);
    EXPECT_EQ(handles.text(handle), words[handle]);
  }
  EXPECT_STREQ(handles.text(1000), "");
}

TEST(string_handles, know_other_texts_by_how_they_begin) {
  const std::pair<const char*, const char*> cases[] = {{"input_port7", "i"},
                                                       {"output_port", "o"},
                                                       {"pwl_omp_e", ""},
                                                       {"omp_explicit", "E"},
                                                       {"omp_i", "I"},
                                                       {"omp_parallel", "P"},
                                                       {"omp_barrier_explicit", ""},
                                                       {"", ""},
                                                       {"Graph", ""},
                                                       {"graph ", ""},
                                                       {"an input_port", ""},
                                                       {"code_address2", ""},
                                                       {"input_por", ""}};
  string_handles handles;
  std::uint64_t handle = 0;
  for (const auto& [text, sets] : cases) {
    EXPECT_EQ(handles.add(++handle, text), vocabulary_word::none) << text;
    EXPECT_EQ(sets_of(handles, handle), sets) << text;
  }
}

TEST(string_handles, replace_words_and_texts_while_sets_only_grow) {
  string_handles handles;
  handles.add(5, "graph");
  handles.add(6, "graph");
  EXPECT_EQ(handles.remembered(vocabulary_word::graph), 6u);
  handles.add(6, "input_port");
  handles.add(6, "omp_e");
  EXPECT_STREQ(handles.text(6), "omp_e");
  EXPECT_EQ(handles.remembered(vocabulary_word::graph), 6u);
  EXPECT_EQ(sets_of(handles, 6), "iE");
}

TEST(string_handles, take_a_word_away_when_a_text_without_handle_has_it) {
  string_handles handles;
  EXPECT_TRUE(handles.is(vocabulary_word::graph, string_handles::unset));
  handles.add(7, "graph");
  EXPECT_EQ(handles.add_nameless("graph"), vocabulary_word::graph);
  EXPECT_FALSE(handles.is(vocabulary_word::graph, 7));
  EXPECT_FALSE(handles.is(vocabulary_word::graph, string_handles::unset));
  EXPECT_STREQ(handles.text(7), "graph");
  EXPECT_EQ(handles.add_nameless("any text"), vocabulary_word::none);
  handles.add(8, "graph");
  EXPECT_TRUE(handles.is(vocabulary_word::graph, 8));
}

}  // namespace
