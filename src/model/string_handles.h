#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <set>
#include <vector>

#include "common/flat_index.h"
#include "common/flat_map.h"

/// The words that the program knows among the texts of string handles, in the order in which they are tested.
enum class vocabulary_word : std::uint8_t {
  graph,
  composite_node,
  opencl_node,
  async_node,
  omp_barrier,
  priority_queue_node,
  sequencer_node,
  queue_node,
  write_once_node,
  split_node,
  node,
  input_port,
  output_port,
  body,
  code_address,
  object_name,
  join_queueing,
  join_reserving,
  join_tag_matching,
  join_key_matching,
  none,
};

/// The string handles of a run: their texts, the handle that stands for each known word, and the sets of
/// handles that say what a record is about. Several threads may ask at once while nothing is added.
class string_handles {
 public:
  /// The handle of a word that was not registered yet.
  static constexpr std::uint64_t unset = ~std::uint64_t{0};

  string_handles();

  /// Records the text of `handle`, borrowed until the end of the run, and what it stands for. Returns the
  /// word.
  vocabulary_word add(std::uint64_t handle, const char* text);

  /// The text of `handle`, empty when it has none. `handle_texts` finds most of them faster.
  [[nodiscard]] const char* text(std::uint64_t handle) const;
  /// The text that was added as the one with `number` among those whose own addresses are their handles; null
  /// when there are not so many.
  [[nodiscard]] const char* own_text(std::size_t number) const {
    return number < own_texts_.size() ? own_texts_[number] : nullptr;
  }

  /// Starts to fetch the place where the text of `handle` is or will be kept into the caches.
  void prefetch(std::uint64_t handle) const { texts_.prefetch(handle); }
  /// Whether there are more handles than the caches nearest to a processor hold.
  [[nodiscard]] bool is_large() const { return texts_.size() > handles_in_caches; }

  /// The handle registered last for `word`, `unset` when there is none.
  [[nodiscard]] std::uint64_t remembered(vocabulary_word word) const {
    return remembered_[static_cast<std::size_t>(word)];
  }

  /// Whether `handle` ever stood for a word or name of that meaning, even if its text is another one now.
  [[nodiscard]] bool is_input_port(std::uint64_t handle) const { return input_ports_.contains(handle); }
  [[nodiscard]] bool is_output_port(std::uint64_t handle) const { return output_ports_.contains(handle); }
  [[nodiscard]] bool is_code_address(std::uint64_t handle) const { return code_addresses_.contains(handle); }
  [[nodiscard]] bool is_parallel_region(std::uint64_t handle) const {
    return parallel_regions_.contains(handle);
  }
  [[nodiscard]] bool is_implicit_task(std::uint64_t handle) const { return implicit_tasks_.contains(handle); }
  [[nodiscard]] bool is_explicit_task(std::uint64_t handle) const { return explicit_tasks_.contains(handle); }

 private:
  static constexpr std::size_t handles_in_caches = 16 * 1024;

  [[nodiscard]] const char* find_own_text(std::uint64_t handle) const;

  flat_map<std::uint64_t, const char*> texts_;
  /// Texts whose handles are their addresses, and a look-up of all of them, which is filled when somebody
  /// asks for one by its handle.
  std::vector<const char*> own_texts_;
  mutable flat_index own_text_index_;
  mutable std::mutex own_text_index_in_use_;
  std::uint64_t remembered_[static_cast<std::size_t>(vocabulary_word::none)];
  std::set<std::uint64_t> input_ports_;
  std::set<std::uint64_t> output_ports_;
  std::set<std::uint64_t> code_addresses_;
  std::set<std::uint64_t> parallel_regions_;
  std::set<std::uint64_t> implicit_tasks_;
  std::set<std::uint64_t> explicit_tasks_;
};
