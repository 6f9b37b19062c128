#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "common/flat_index.h"
#include "common/hash.h"

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
  code_address,
  object_name,
  join_queueing,
  join_reserving,
  join_tag_matching,
  none,
};

/// The string handles of a run: their texts, the handle that stands for each known word, and the sets of
/// handles that say what a record is about.
class string_handles {
 public:
  /// The handle of a word that was not registered yet.
  static constexpr std::uint64_t unset = ~std::uint64_t{0};

  string_handles();

  /// Records the text of `handle`, borrowed until the end of the run, and what it stands for. Returns the
  /// word.
  vocabulary_word add(std::uint64_t handle, const char* text);

  /// The same for a text that no handle stands for: from here on, no record's handle stands for its word.
  vocabulary_word add_nameless(std::string_view text);

  /// The text of `handle`, empty when it has none.
  [[nodiscard]] const char* text(std::uint64_t handle) const;

  /// Whether `handle` is the one registered last for `word`.
  [[nodiscard]] bool is(vocabulary_word word, std::uint64_t handle) const {
    return remembered(word) == handle;
  }
  /// The handle registered last for `word`: `unset` before there is one, none once a text without a handle
  /// took its place.
  [[nodiscard]] const std::optional<std::uint64_t>& remembered(vocabulary_word word) const {
    return remembered_[static_cast<std::size_t>(word)];
  }

  /// Whether there are more handles than the caches nearest to a processor hold.
  [[nodiscard]] bool is_large() const { return texts_.size() > handles_in_caches; }
  /// Starts to fetch the slot of `handle` into the caches.
  void prefetch(std::uint64_t handle) const { index_.prefetch(seeded_hash{}(handle)); }

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
  static constexpr std::size_t handles_in_caches = std::size_t{16} * 1024;

  void set_text(std::uint64_t handle, const char* text);

  struct handle_text {
    std::uint64_t handle;
    const char* text;
  };

  std::vector<handle_text> texts_;
  flat_index index_;  ///< of the texts, one more than their position
  std::array<std::optional<std::uint64_t>, static_cast<std::size_t>(vocabulary_word::none)> remembered_;
  std::set<std::uint64_t> input_ports_;
  std::set<std::uint64_t> output_ports_;
  std::set<std::uint64_t> code_addresses_;
  std::set<std::uint64_t> parallel_regions_;
  std::set<std::uint64_t> implicit_tasks_;
  std::set<std::uint64_t> explicit_tasks_;
};
