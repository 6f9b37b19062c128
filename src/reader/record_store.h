#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include "common/text_arena.h"
#include "reader/trace_record.h"

/// What the readers of one run share: the arena with the texts of all records, and the record objects that
/// go round. A record is usually let go soon after it is read, so few objects are enough for any number of
/// files. Must outlive the readers and every user of the texts.
class record_store {
 public:
  record_store() = default;
  record_store(const record_store&) = delete;
  record_store& operator=(const record_store&) = delete;

  /// A record with its defaults: the object handed out last, unless somebody still holds it, else the one
  /// handed out longest ago, unless somebody holds that.
  std::shared_ptr<trace_record> make_record() {
    if (records_[last_].use_count() > 1) last_ = (last_ + 1) % records_.size();
    std::shared_ptr<trace_record>& record = records_[last_];
    if (record.use_count() == 1) {
      record->reset();
    } else {
      record = std::make_shared<trace_record>();
    }
    return record;
  }

  /// Keeps the texts and values of records until the store is destroyed or told to replace them.
  [[nodiscard]] text_arena& texts() { return texts_; }

  /// Whether so many texts have gathered that replacing them is worth its while.
  [[nodiscard]] bool has_gathered_texts() const { return texts_.taken_bytes() >= enough_bytes_; }
  /// Gives back all texts but those in `fresh`, which it takes over.
  void replace_texts(text_arena&& fresh) {
    texts_ = std::move(fresh);
    // Many or long texts that stay must not be moved over and over again.
    enough_bytes_ = std::max(least_bytes, 2 * texts_.taken_bytes());
  }

 private:
  static constexpr std::size_t least_bytes = std::size_t{1} << 20;

  text_arena texts_;
  std::size_t enough_bytes_ = least_bytes;
  std::array<std::shared_ptr<trace_record>, 16> records_;
  std::size_t last_ = 0;
};
