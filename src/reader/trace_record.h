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

  /// Time of the record, in ticks.
  [[nodiscard]] std::uint64_t timestamp() const { return f[1]; }

  // The fields by their names in `record_descriptions`, for the kinds that have them.

  [[nodiscard]] std::uint64_t domain() const { return f[field_index(record_kind::task_begin, "domain")]; }
  /// The domain handle or string handle that the record creates.
  [[nodiscard]] std::uint64_t handle() const {
    return f[field_index(record_kind::domain_create_a, "handle")];
  }
  /// String handle of a kind or name.
  [[nodiscard]] std::uint64_t name() const { return f[field_index(record_kind::task_begin, "name")]; }
  /// Number of the processor that a task begins on.
  [[nodiscard]] std::uint64_t processor() const {
    return f[field_index(record_kind::task_begin, "processor")];
  }
  /// String handle of what metadata is about.
  [[nodiscard]] std::uint64_t key() const { return f[field_index(record_kind::metadata, "key")]; }
  /// Type and count of a metadata value.
  [[nodiscard]] std::uint64_t type() const { return f[field_index(record_kind::metadata, "type")]; }
  [[nodiscard]] std::uint64_t count() const { return f[field_index(record_kind::metadata, "count")]; }
  /// What the head of a relation is to its tail.
  [[nodiscard]] std::uint64_t relation() const { return f[field_index(record_kind::relation, "relation")]; }

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
  std::uint64_t offset = 0;  ///< of its first byte in a binary file; 0 for a record of an XML file
};
