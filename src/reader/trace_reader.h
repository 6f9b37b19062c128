#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "reader/record_store.h"
#include "reader/trace_record.h"

/// Reads the trace file of one producer, record by record in file order. A plain object of this class stands
/// for a file that is present but yields nothing: its done flag is set and it has no current record.
class trace_reader {
 public:
  /// `store` is where the records and their texts come from.
  trace_reader(int producer, record_store& store) : producer_(producer), store_(store) {}
  trace_reader(const trace_reader&) = delete;
  trace_reader& operator=(const trace_reader&) = delete;
  virtual ~trace_reader() = default;

  /// Hands out the current record and moves on to the next one. Null when there is nothing (more) to give.
  /// Damaged bytes come back as a bad record whose `string` is the reason; nothing behind it counts.
  virtual std::shared_ptr<trace_record> current_and_advance();

  /// Timestamp frequency of the file in ticks per second, as text; empty when unknown.
  [[nodiscard]] virtual std::string freq() const;
  /// Number of hardware threads of the traced machine, as text; empty when unknown.
  [[nodiscard]] virtual std::string hwc() const;

  /// Opens the file `<stem>.<n>` and recognises its format by its first byte. Null when there is no such file
  /// (or an XML file without a version), a done reader when the file yields nothing, else a reader with a
  /// current record. Aborts when an XML file is no trace.
  static std::shared_ptr<trace_reader> create_reader(const std::string& stem, int n, record_store& store);

  /// Moves the text of a record that is decoded before it is handed out to `texts`.
  virtual void move_text_ahead(text_arena& texts);

  /// Whether there is a current record.
  [[nodiscard]] bool has_current() const { return has_current_; }
  /// Timestamp of the current record in ticks, which is known before the rest of the record is decoded.
  [[nodiscard]] std::uint64_t timestamp() const { return timestamp_; }
  /// Where the bytes of the current record lie in memory; null when nobody knows.
  [[nodiscard]] const void* current_bytes() const { return current_bytes_; }
  /// True when the file yields nothing at all.
  [[nodiscard]] bool done() const { return done_; }

 protected:
  /// Keeps a metadata value in the arena, with a zero byte behind it for those who print it as a text.
  [[nodiscard]] const void* keep_value(std::uint64_t value);
  /// An empty record of this reader's producer.
  [[nodiscard]] std::shared_ptr<trace_record> start_record();
  /// Turns `record` into a bad record with `message` as its reason.
  void make_bad_record(trace_record& record, const char* message);

  std::int32_t producer_;
  bool done_ = true;
  bool has_current_ = false;
  std::uint64_t timestamp_ = 0;
  const void* current_bytes_ = nullptr;
  record_store& store_;
};
