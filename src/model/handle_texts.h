#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "model/string_handles.h"

/// Asks for the texts of string handles on behalf of one thread. Remembers answers, so that handles that are
/// asked for again and again take little, and so do texts whose own addresses are their handles when each is
/// asked for once, in the order of their addition, as the timeline does.
class handle_texts {
 public:
  /// `handles` must outlive the object. Where a handle gets a text, `forget` must be told.
  explicit handle_texts(const string_handles& handles) : handles_(handles) {}

  /// The text of `handle`, empty when it has none. Borrowed until the end of the run.
  [[nodiscard]] const char* text(std::uint64_t handle);
  /// The same with its length.
  [[nodiscard]] std::string_view view(std::uint64_t handle) {
    known_text& known = known_texts_[known_place(handle)];
    if (known.handle != handle || known.text.data() == nullptr) known = {handle, text(handle)};
    return known.text;
  }

  /// Forgets what was known of `handle`.
  void forget(std::uint64_t handle) { known_texts_[known_place(handle)] = {}; }

 private:
  struct known_text {
    std::uint64_t handle = 0;
    std::string_view text;
  };

  static std::size_t known_place(std::uint64_t handle) {
    return static_cast<std::size_t>(handle * 0x9e3779b97f4a7c15U >> 59);
  }

  const string_handles& handles_;
  std::size_t next_own_text_ = 0;
  std::array<known_text, 32> known_texts_;
};
