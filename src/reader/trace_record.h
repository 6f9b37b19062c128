#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "common/onx_id.h"

class text_arena;

/// One decoded record of the tracing interface, whatever the format of its file. Held by shared pointer;
/// a reader uses an object again as soon as nobody else holds it.
class trace_record {
 public:
  /// Kinds with a meaning of their own outside the table of record descriptions.
  static constexpr std::int32_t end_of_records = 17;
  static constexpr std::int32_t bad_record = 18;

  virtual ~trace_record() = default;

  /// Puts every field back to its default, so that a reader can use the object for its next record.
  void reset();

  /// Copies what `string` points at to `texts` and points there.
  void move_text_to(text_arena& texts);

  /// Prints the record to standard output, for people who look at a trace file.
  void dump() const;

  /// `string` of the kinds with a wide text.
  [[nodiscard]] const wchar_t* wide_string() const { return static_cast<const wchar_t*>(string); }
  /// `string` of the kinds with a narrow text, and of a bad record.
  [[nodiscard]] const char* narrow_string() const { return static_cast<const char*>(string); }
  /// `string` of a metadata record: the value, zero-extended to 64 bits whatever its width in the file.
  [[nodiscard]] std::uint64_t value() const { return *static_cast<const std::uint64_t*>(string); }

  std::int32_t kind = end_of_records;  ///< index into `record_descriptions`, or `bad_record`
  std::int32_t producer = -1;          ///< number of the trace file that holds the record
  std::array<std::uint64_t, 7> f{};    ///< kind, timestamp in ticks, then the numeric fields by position
  std::array<___onx_id, 2> id{};       ///< id fields in order of appearance
  /// Text, wide text, metadata value or, for a bad record, the reason. Borrowed from the arena of the run's
  /// reader: valid until the end of the run. Null when the record has none.
  const void* string = nullptr;
  std::uint64_t raw_offset = 0;  ///< byte position in its binary file, for `dump` only
  /// `raw[0]` captured bytes, the bytes from `raw[1]` on, for `dump` only.
  std::array<std::uint8_t, 255> raw{};
};
