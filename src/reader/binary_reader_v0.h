#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "reader/input_window.h"
#include "reader/trace_reader.h"

/// Reads a binary trace file of format version 0, one record at a time, each when it is asked for. Damaged
/// bytes come back as one bad record, "incomplete record" or "unknown record"; the reader would read on from
/// there, which only a tool that looks at damaged files does.
class binary_reader_v0 : public trace_reader {
 public:
  /// Takes over `file`, positioned behind the header; `frequency` in ticks per second and `concurrency` in
  /// hardware threads come from the header.
  binary_reader_v0(const std::string& file_name, int producer, std::FILE* file, unsigned long frequency,
                   unsigned long concurrency, record_store& store);

  std::shared_ptr<trace_record> current_and_advance() override;
  /// The header's numbers in decimal.
  [[nodiscard]] std::string freq() const override;
  [[nodiscard]] std::string hwc() const override;

  /// Name of the file, for messages of tools.
  [[nodiscard]] const std::string& file_name() const { return file_name_; }

 private:
  void look_ahead();
  void read_record(trace_record& record);
  /// Decodes a whole record of a simple kind that lies in the buffer. False for any other, which is still to
  /// be read then, from its first byte on; its first fields may have been filled in.
  [[nodiscard]] bool read_plain_record(trace_record& record);

  [[nodiscard]] bool read_fields(trace_record& record);
  [[nodiscard]] bool read_id(trace_record& record, std::size_t k);
  [[nodiscard]] bool read_narrow_string(trace_record& record, std::uint32_t length);
  [[nodiscard]] bool read_wide_string(trace_record& record, std::uint32_t length);
  [[nodiscard]] bool read_metadata_value(trace_record& record);
  [[nodiscard]] bool read_captured_number(trace_record& record, std::uint64_t& number);
  /// Reads up to `length` bytes into the arena, zero-terminated, however many really arrive.
  [[nodiscard]] const char* read_text(std::size_t length, std::size_t& arrived);

  std::uint64_t position_;
  std::optional<input_window> file_;  ///< let go, and so closed, when the last record was handed out
  std::uint64_t frequency_;
  std::uint64_t concurrency_;
  std::string file_name_;
};
