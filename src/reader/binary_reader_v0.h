#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "reader/input_window.h"
#include "reader/trace_reader.h"

/// Reads a binary trace file of format version 0, one record at a time, each when it is asked for. Damaged
/// bytes come as one bad record, "incomplete record" or "unknown record"; the reader would read on from
/// there, which only a tool that looks at damaged files does.
class binary_reader_v0 : public trace_reader {
 public:
  /// Takes over `file`, positioned behind the header; `frequency` in ticks per second and `concurrency` in
  /// hardware threads come from the header.
  binary_reader_v0(std::int32_t producer, std::FILE* file, std::uint64_t frequency, std::uint64_t concurrency,
                   text_arena& texts);

  bool current_and_advance(trace_record& record) override;
  /// The header's numbers in decimal.
  [[nodiscard]] std::string freq() const override;
  [[nodiscard]] std::string hwc() const override;

 private:
  void look_ahead();
  void read_record(trace_record& record);
  [[nodiscard]] bool read_fields(trace_record& record);
  [[nodiscard]] bool read_narrow_string(trace_record& record, std::uint32_t length);
  [[nodiscard]] bool read_wide_string(trace_record& record, std::uint32_t length);
  [[nodiscard]] bool read_metadata_value(trace_record& record);
  /// False when fewer bytes than these are left.
  [[nodiscard]] bool read_whole(void* to, std::size_t size_bytes);
  /// Reads up to `length` bytes into the arena, zero-terminated, however many really arrive.
  [[nodiscard]] const char* read_text(std::size_t length, std::size_t& arrived);

  std::optional<input_window> file_;  ///< let go, and so closed, when the last record was handed out
  std::uint64_t frequency_;
  std::uint64_t concurrency_;
};
