#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "common/text_arena.h"
#include "reader/trace_record.h"

/// Reads the trace file of one producer, record by record in file order. A plain object of this class stands
/// for a file that is present but yields nothing: its done flag is set and it has no current record.
class trace_reader {
 public:
  /// Texts and values of records come from `texts`, which must outlive the reader.
  trace_reader(std::int32_t producer, text_arena& texts) : producer_(producer), texts_(texts) {}
  trace_reader(const trace_reader&) = delete;
  trace_reader& operator=(const trace_reader&) = delete;
  virtual ~trace_reader() = default;

  /// Puts the current record into `record` and moves on to the next one; false when there is nothing (more)
  /// to give. Damaged bytes come as a bad record whose `string` is the reason; nothing behind it counts.
  virtual bool current_and_advance(trace_record& record);

  /// Timestamp frequency of the file in ticks per second, as text; empty when unknown.
  [[nodiscard]] virtual std::string freq() const;
  /// Number of hardware threads of the traced machine, as text; empty when unknown.
  [[nodiscard]] virtual std::string hwc() const;

  /// Opens the file `<stem>.<n>` and recognises its format by its first byte. Null when there is no such file
  /// (or an XML file without a version), a done reader when the file yields nothing, else a reader with a
  /// current record. Aborts when an XML file is no trace.
  static std::unique_ptr<trace_reader> create_reader(const std::string& stem, int n, text_arena& texts);

  /// Whether there is a current record.
  [[nodiscard]] bool has_current() const { return has_current_; }
  /// Timestamp of the current record in ticks, which is known before the rest of the record is decoded.
  [[nodiscard]] std::uint64_t timestamp() const { return timestamp_; }
  /// True when the file yields nothing at all.
  [[nodiscard]] bool done() const { return done_; }

 protected:
  /// Keeps a metadata value in the arena, with a zero byte behind it for those who print it as a text.
  [[nodiscard]] const void* keep_value(std::uint64_t value);
  /// Turns `record` into a bad record with `reason`, a literal.
  static void make_bad_record(trace_record& record, const char* reason);

  std::int32_t producer_;
  bool done_ = true;
  bool has_current_ = false;
  std::uint64_t timestamp_ = 0;
  text_arena& texts_;
};
