#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "common/onx_id.h"
#include "reader/record_descriptions.h"

/// One decoded record of the tracing interface, whatever the format of its file.
class trace_record {
 public:
  /// Puts every field back to its default, for the next record of `producer`.
  void reset(std::int32_t producer);

  /// Prints the record to standard output, for people who look at a trace file.
  void dump() const;

  /// Time of the record, in ticks.
  [[nodiscard]] std::uint64_t timestamp() const { return f[1]; }

  // The fields by their names in `record_descriptions`, for the kinds that have them.

  [[nodiscard]] std::uint64_t domain() const { return number<record_kind::task_begin>("domain"); }
  /// The domain handle or string handle that the record creates.
  [[nodiscard]] std::uint64_t handle() const { return number<record_kind::domain_create_a>("handle"); }
  /// String handle of a kind or name.
  [[nodiscard]] std::uint64_t name() const { return number<record_kind::task_begin>("name"); }
  /// Number of the processor that a task begins on.
  [[nodiscard]] std::uint64_t processor() const { return number<record_kind::task_begin>("processor"); }
  /// String handle of what metadata is about.
  [[nodiscard]] std::uint64_t key() const { return number<record_kind::metadata>("key"); }
  /// Type and count of a metadata value.
  [[nodiscard]] std::uint64_t type() const { return number<record_kind::metadata>("type"); }
  [[nodiscard]] std::uint64_t count() const { return number<record_kind::metadata>("count"); }
  /// What the head of a relation is to its tail.
  [[nodiscard]] std::uint64_t relation() const { return number<record_kind::relation>("relation"); }

  [[nodiscard]] const ___onx_id& object() const { return id[0]; }
  [[nodiscard]] const ___onx_id& parent() const { return id[1]; }
  [[nodiscard]] const ___onx_id& head() const { return id[0]; }
  [[nodiscard]] const ___onx_id& tail() const { return id[1]; }

  /// `string` of the kinds with a wide text.
  [[nodiscard]] const wchar_t* wide_string() const { return static_cast<const wchar_t*>(string); }
  /// `string` of the kinds with a narrow text, and of a bad record.
  [[nodiscard]] const char* narrow_string() const { return static_cast<const char*>(string); }
  /// `string` of a metadata record: the value, zero-extended to 64 bits whatever its width in the file.
  [[nodiscard]] std::uint64_t value() const { return *static_cast<const std::uint64_t*>(string); }

  record_kind kind = record_kind::end_of_records;
  std::int32_t producer = -1;        ///< number of the trace file that holds the record
  std::array<std::uint64_t, 7> f{};  ///< kind, timestamp in ticks, then the numeric fields by position
  std::array<___onx_id, 2> id{};     ///< id fields in order of appearance
  /// Text, wide text, metadata value or, for a bad record, the reason. Borrowed from the arena of the run's
  /// readers. Null when the record has none.
  const void* string = nullptr;
  std::uint64_t raw_offset = 0;  ///< byte position in its binary file, for `dump` only
  /// `raw[0]` captured bytes, the bytes from `raw[1]` on, for `dump` only.
  std::array<std::uint8_t, 255> raw{};

 private:
  /// The numeric field that records of `Kind` have under `name`; others of that name have it there too.
  template <record_kind Kind>
  [[nodiscard]] constexpr std::uint64_t number(std::string_view name) const {
    return f[field_position(Kind, name) + 2];
  }
};
