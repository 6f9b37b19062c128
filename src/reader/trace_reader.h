#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "reader/trace_record.h"

class text_arena;

/// Reads the trace file of one producer, record by record in file order. A plain object of this class stands
/// for a file that is present but yields nothing: its done flag is set and it has no current record.
class trace_reader {
 public:
  /// `texts` keeps the texts of all records and must outlive every user of them.
  trace_reader(int producer, text_arena& texts);
  trace_reader(const trace_reader&) = delete;
  trace_reader& operator=(const trace_reader&) = delete;
  virtual ~trace_reader() = default;

  /// Hands out the current record and moves on to the next one. Null when there is nothing (more) to give.
  virtual std::shared_ptr<trace_record> current_and_advance();

  /// Timestamp frequency of the file in ticks per second, as text; empty when unknown.
  [[nodiscard]] virtual std::string freq() const;
  /// Number of hardware threads of the traced machine, as text; empty when unknown.
  [[nodiscard]] virtual std::string hwc() const;

  /// Opens the file `<stem>.<n>` and recognises its format by its first byte. Null when there is no such file
  /// (or an XML file without a version), a done reader when the file yields nothing, else a reader with its
  /// first record read. Aborts when an XML file is no trace.
  static std::shared_ptr<trace_reader> create_reader(const std::string& stem, int n, text_arena& texts);

  /// Turns the current record into a bad record with `message` as its reason.
  void make_bad_record(const std::string& message);

  [[nodiscard]] const std::shared_ptr<trace_record>& current() const { return current_; }
  [[nodiscard]] bool done() const { return done_; }

 protected:
  /// Keeps a metadata value in the arena, with a zero byte behind it for those who print it as a text.
  [[nodiscard]] const void* keep_value(std::uint64_t value);
  /// Makes an empty record with this reader's producer the current one.
  void start_record();

  std::shared_ptr<trace_record> current_;
  std::int32_t producer_;
  bool done_ = true;
  text_arena& texts_;

 private:
  std::shared_ptr<trace_record> spare_;
};
