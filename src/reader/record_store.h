#pragma once

#include <cstddef>
#include <memory>

#include "common/text_arena.h"
#include "reader/trace_record.h"

/// What the readers of one run share: the arena with the texts of all records, and the record object that
/// goes round. A record is usually let go before the next one is read, so one object is enough for any number
/// of files. Must outlive the readers and every user of the texts.
class record_store {
 public:
  record_store() = default;
  record_store(const record_store&) = delete;
  record_store& operator=(const record_store&) = delete;

  /// A record with its defaults: the object handed out last, unless somebody still holds it.
  std::shared_ptr<trace_record> make_record() {
    if (record_.use_count() == 1) {
      record_->reset();
    } else {
      record_ = std::make_shared<trace_record>();
    }
    return record_;
  }

  /// Keeps the texts and values of records until the store is destroyed or told to release them.
  [[nodiscard]] text_arena& texts() { return texts_; }

  /// Gives back the texts of all records handed out so far; everybody must have let go of them. For those who
  /// look at each record once: to be called after any record, it does nothing until some texts have gathered.
  void release_texts() {
    if (texts_.count_blocks() >= most_gathered_blocks) texts_ = text_arena();
  }

 private:
  static constexpr std::size_t most_gathered_blocks = 16;

  text_arena texts_;
  std::shared_ptr<trace_record> record_;
};
