#include "model/string_handles.h"

#include <algorithm>

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
    "code_address",
    "object_name",
    "join_node (queueing)",
    "join_node (reserving)",
    "join_node (tag_matching)",
};

vocabulary_word find_word(std::string_view text) {
  return static_cast<vocabulary_word>(std::find(words.begin(), words.end(), text) - words.begin());
}

}  // namespace

string_handles::string_handles() { remembered_.fill(unset); }

vocabulary_word string_handles::add(std::uint64_t handle, const char* text) {
  set_text(handle, text);
  const std::string_view view = text;
  const vocabulary_word word = find_word(view);
  if (word == vocabulary_word::code_address) {
    code_addresses_.insert(handle);
  } else if (word != vocabulary_word::none) {
    remembered_[static_cast<std::size_t>(word)] = handle;
  }
  if (view.starts_with("input_port")) {
    input_ports_.insert(handle);
  } else if (view.starts_with("output_port")) {
    output_ports_.insert(handle);
  } else if (word != vocabulary_word::none || view.starts_with("pwl_")) {
    // Told by the whole word, or a flow-graph name, whatever follows.
  } else if (view.starts_with("omp_e")) {
    explicit_tasks_.insert(handle);
  } else if (view.starts_with("omp_i")) {
    implicit_tasks_.insert(handle);
  } else if (view.starts_with("omp_p")) {
    parallel_regions_.insert(handle);
  }
  return word;
}

vocabulary_word string_handles::add_nameless(std::string_view text) {
  const vocabulary_word word = find_word(text);
  if (word != vocabulary_word::none) remembered_[static_cast<std::size_t>(word)].reset();
  return word;
}

void string_handles::set_text(std::uint64_t handle, const char* text) {
  texts_.push_back({handle, text});
  const auto known = [this, handle](std::uint32_t position) { return texts_[position - 1].handle == handle; };
  index_.put(seeded_hash{}(handle), static_cast<std::uint32_t>(texts_.size()), known);
}

const char* string_handles::text(std::uint64_t handle) const {
  const auto known = [this, handle](std::uint32_t position) { return texts_[position - 1].handle == handle; };
  const std::uint32_t position = index_.find(seeded_hash{}(handle), known);
  return position == 0 ? "" : texts_[position - 1].text;
}
