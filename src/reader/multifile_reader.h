#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/text_arena.h"
#include "reader/trace_reader.h"

/// Merges all trace files of one run into one stream of records by ascending timestamp. Owns the readers and
/// the texts of all records it hands out, which stay valid until it is destroyed.
class multifile_reader {
 public:
  /// Opens `<stem>.0`, `<stem>.1`, ... up to the first missing number. Files that yield nothing are skipped.
  explicit multifile_reader(const char* stem);

  /// The next record of the run, of a kind from 0 to 16; null when all files are exhausted. A file is dropped
  /// at its end record or at its first bad record, and neither is handed out.
  std::shared_ptr<trace_record> next_record();

  /// Ticks per second and number of hardware threads as text, from the first usable file; empty without one.
  [[nodiscard]] const std::string& frequency() const { return frequency_; }
  [[nodiscard]] const std::string& concurrency() const { return concurrency_; }

 private:
  /// A reader that has a current record, by its index, with that record's timestamp beside it so that
  /// comparing two readers touches neither.
  struct entry {
    std::uint64_t timestamp;
    std::size_t reader;
  };

  /// Puts the reader with the smallest timestamp at the front. There is no second key: the order that the
  /// standard heap operations give to equal timestamps is the order of the output.
  struct ts_reverse_ordering {
    bool operator()(const entry& a, const entry& b) const { return a.timestamp > b.timestamp; }
  };

  void push(std::size_t reader);

  text_arena texts_;
  std::string frequency_;
  std::string concurrency_;
  /// Every usable reader; null once its file is dropped.
  std::vector<std::shared_ptr<trace_reader>> readers_;
  std::vector<entry> heap_;
};
