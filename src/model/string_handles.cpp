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

/// A bit for each word of a length and for each word with a first letter. Most texts are no words, which both
/// together tell already.
struct word_table {
  std::array<std::uint32_t, longest_word + 1> by_length{};
  std::array<std::uint32_t, 256> by_letter{};
};

constexpr word_table list_words() {
  word_table table;
  for (std::size_t word = 0; word < words.size(); ++word) {
    table.by_length[words[word].size()] |= 1U << word;
    table.by_letter[static_cast<unsigned char>(words[word].front())] |= 1U << word;
  }
  return table;
}
constexpr word_table table_of_words = list_words();

vocabulary_word find_word(std::string_view text, std::uint32_t candidates) {
  if (text.size() > longest_word) return vocabulary_word::none;
  for (std::uint32_t left = candidates & table_of_words.by_length[text.size()]; left != 0; left &= left - 1) {
    const auto word = static_cast<std::size_t>(std::countr_zero(left));
    if (text == words[word]) return static_cast<vocabulary_word>(word);
  }
  return vocabulary_word::none;
}

bool is_address(std::uint64_t handle, const char* text) {
  return handle == static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(text));
}

}  // namespace

string_handles::string_handles() { std::fill(std::begin(remembered_), std::end(remembered_), unset); }

vocabulary_word string_handles::add(std::uint64_t handle, const char* text) {
  if (is_address(handle, text)) {
    own_texts_.push_back(text);
  } else {
    texts_.place(handle) = text;
  }
  // All texts with a meaning begin with one of few letters, also those that are told by their beginning.
  const std::uint32_t candidates = table_of_words.by_letter[static_cast<unsigned char>(*text)];
  if (candidates == 0) return vocabulary_word::none;
  const std::string_view view = text;
  const vocabulary_word word = find_word(view, candidates);
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
  return found != nullptr ? *found : find_own_text(handle);
}

const char* string_handles::find_own_text(std::uint64_t handle) const {
  if (own_texts_.empty()) return "";
  const std::lock_guard lock(own_text_index_in_use_);
  const auto matches = [this, handle](std::uint32_t number) {
    return is_address(handle, own_texts_[number - 1]);
  };
  while (own_text_index_.size() < own_texts_.size()) {
    const char* const text = own_texts_[own_text_index_.size()];
    own_text_index_.put(flat_hash{}(text), static_cast<std::uint32_t>(own_text_index_.size() + 1),
                        [](std::uint32_t) { return false; });
  }
  const std::uint32_t number = own_text_index_.find(flat_hash{}(handle), matches);
  return number != 0 ? own_texts_[number - 1] : "";
}
