#include "model/string_handles.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

namespace {

// In the order of vocabulary_word.
constexpr std::array<std::string_view, static_cast<std::size_t>(vocabulary_word::none)> words = {
    "graph",
    "composite_node",
    "opencl_node",
    "async_node",
    "omp_barrier",
    "priority_queue_node",
    "sequencer_node",
    "queue_node",
    "write_once_node",
    "split_node",
    "node",
    "input_port",
    "output_port",
    "body",
    "code_address",
    "object_name",
    "join_node (queueing)",
    "join_node (reserving)",
    "join_node (tag_matching)",
    "join_node (key_matching)",
};

constexpr std::size_t longest_word =
    std::max_element(words.begin(), words.end(), [](std::string_view a, std::string_view b) {
      return a.size() < b.size();
    })->size();

/// By length: a bit for each word of that length. Most texts are no words, which their length tells already.
constexpr std::array<std::uint32_t, longest_word + 1> list_words_by_length() {
  std::array<std::uint32_t, longest_word + 1> table{};
  for (std::size_t word = 0; word < words.size(); ++word) table[words[word].size()] |= 1U << word;
  return table;
}
constexpr auto words_by_length = list_words_by_length();

vocabulary_word find_word(std::string_view text) {
  if (text.size() > longest_word) return vocabulary_word::none;
  for (std::uint32_t left = words_by_length[text.size()]; left != 0; left &= left - 1) {
    const auto word = static_cast<std::size_t>(std::countr_zero(left));
    if (text == words[word]) return static_cast<vocabulary_word>(word);
  }
  return vocabulary_word::none;
}

}  // namespace

string_handles::string_handles() { std::fill(std::begin(remembered_), std::end(remembered_), unset); }

vocabulary_word string_handles::add(std::uint64_t handle, const char* text) {
  texts_.place(handle) = text;
  known_texts_[known_place(handle)] = {};
  const std::string_view view = text;
  const vocabulary_word word = find_word(view);
  if (word != vocabulary_word::none) {
    // A code address is known by its set alone.
    if (word == vocabulary_word::code_address) {
      code_addresses_.insert(handle);
      return word;
    }
    remembered_[static_cast<std::size_t>(word)] = handle;
    if (word == vocabulary_word::input_port) input_ports_.insert(handle);
    if (word == vocabulary_word::output_port) output_ports_.insert(handle);
    return word;
  }
  if (view.starts_with("input_port")) {
    input_ports_.insert(handle);
  } else if (view.starts_with("output_port")) {
    output_ports_.insert(handle);
  } else if (view.starts_with("pwl_")) {
    // A flow-graph name, whatever follows.
  } else if (view.starts_with("omp_e")) {
    explicit_tasks_.insert(handle);
  } else if (view.starts_with("omp_i")) {
    implicit_tasks_.insert(handle);
  } else if (view.starts_with("omp_p")) {
    parallel_regions_.insert(handle);
  }
  return vocabulary_word::none;
}

const char* string_handles::text(std::uint64_t handle) const {
  const char* const* const found = texts_.find(handle);
  return found != nullptr ? *found : "";
}
