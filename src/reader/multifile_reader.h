#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/text_arena.h"
#include "reader/merge_heap.h"
#include "reader/trace_reader.h"

/// Merges all trace files of one run into one stream of records by ascending timestamp. Owns the readers and
/// the texts of all records it hands out, which stay valid until it is destroyed or told to release them.
class multifile_reader {
 public:
  /// Opens `<stem>.0`, `<stem>.1`, ... up to the first missing number. Files that yield nothing are skipped.
  /// Aborts when one of them is an XML file that is no trace.
  explicit multifile_reader(const std::string& stem);

  /// Puts the next record of the run, of a described kind but the end record, into `record`; false when all
  /// files are exhausted. A file is dropped at its end record or at its first bad record, and neither is
  /// handed out.
  bool next_record(trace_record& record);

  /// The same with the end records, which belong to the files and not to the run. For those who list files.
  bool next_record_or_end(trace_record& record);

  /// Gives back the texts of all records handed out so far, which the caller must not look at any more, once
  /// `kept_text_bytes` have gathered. For those who look at each record once.
  void release_texts();
  static constexpr std::size_t kept_text_bytes = std::size_t{1} << 20;

  /// How many files could not be read to their end record: they yielded nothing, were dropped at a bad record
  /// or just stopped.
  [[nodiscard]] std::size_t damaged_files() const { return damaged_files_; }

  /// How many files were opened: the number of the one that was missing.
  [[nodiscard]] std::size_t opened_files() const { return opened_files_; }

  /// Ticks per second and number of hardware threads as text, from the first usable file; empty without one.
  [[nodiscard]] const std::string& frequency() const { return frequency_; }
  [[nodiscard]] const std::string& concurrency() const { return concurrency_; }

 private:
  text_arena texts_;
  std::string frequency_;
  std::string concurrency_;
  /// Every usable reader; null once its file is dropped.
  std::vector<std::unique_ptr<trace_reader>> readers_;
  /// The readers that have a current record, by their index and that record's timestamp.
  merge_heap heap_;
  std::size_t opened_files_ = 0;
  std::size_t damaged_files_ = 0;
};
