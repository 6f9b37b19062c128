#include "model/string_handles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "model/handle_texts.h"

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

std::uint64_t address(const std::string& text) {
  return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(text.c_str()));
}

// In the order of `vocabulary_word`.
const std::vector<std::string> words = [] {
  std::istringstream lines(
      "graph\ncomposite_node\nopencl_node\nasync_node\nomp_barrier\npriority_queue_node\nsequencer_node\n"
      "queue_node\nwrite_once_node\nsplit_node\nnode\ninput_port\noutput_port\nbody\ncode_address\n"
      "object_name\njoin_node (queueing)\njoin_node (reserving)\njoin_node (tag_matching)\n"
      "join_node (key_matching)\n");
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
    EXPECT_EQ(sets_of(handles, handle), text == "input_port"     ? "i"
                                        : text == "output_port"  ? "o"
                                        : text == "code_address" ? "c"
                                                                 : "");
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
                                                       {"output_ports", "o"},
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
  handles.add(5, "input_port");
  handles.add(6, "input_port");
  EXPECT_EQ(handles.remembered(vocabulary_word::input_port), 6u);
  EXPECT_TRUE(handles.is_input_port(5));
  handles.add(6, "omp_e");
  EXPECT_STREQ(handles.text(6), "omp_e");
  EXPECT_EQ(handles.remembered(vocabulary_word::input_port), 6u);
  EXPECT_EQ(sets_of(handles, 6), "iE");
}

// User events are named by the addresses of their texts, which are asked for in their order; others may be.
TEST(string_handles, know_texts_by_their_addresses) {
  const std::vector<std::string> texts = {"first", "graph", "third"};
  string_handles handles;
  for (const std::string& text : texts) handles.add(address(text), text.c_str());
  EXPECT_EQ(handles.remembered(vocabulary_word::graph), address(texts[1]));
  handles.add(7, "seventh");
  for (const std::size_t wanted : {0u, 1u, 0u, 2u, 1u}) {
    EXPECT_EQ(handles.text(address(texts[wanted])), texts[wanted]);
    EXPECT_STREQ(handles.text(7), "seventh");
    EXPECT_STREQ(handles.text(address(texts[0]) + 1), "");
  }
}

// Asked for in turn, out of turn, again, and between others that share their places.
TEST(handle_texts, are_those_of_the_handles) {
  const std::vector<std::string> texts = {"first", "graph", "third"};
  string_handles handles;
  handle_texts asked(handles);
  EXPECT_EQ(asked.view(0), "");
  for (const std::string& text : texts) handles.add(address(text), text.c_str());
  for (std::uint64_t handle = 0; handle < 100; ++handle)
    handles.add(handle, words[handle % words.size()].c_str());
  asked.forget(0);
  for (const std::size_t wanted : {0u, 1u, 0u, 2u, 2u, 1u}) {
    EXPECT_EQ(asked.text(address(texts[wanted])), texts[wanted]);
    EXPECT_EQ(asked.view(address(texts[wanted])), texts[wanted]);
    for (std::uint64_t handle = 0; handle < 100; ++handle) {
      EXPECT_EQ(asked.view(handle), words[handle % words.size()]);
    }
    EXPECT_EQ(asked.view(100), "");
  }
  handles.add(7, "");
  asked.forget(7);
  EXPECT_EQ(asked.view(7), "");
}

}  // namespace
