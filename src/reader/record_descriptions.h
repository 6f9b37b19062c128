#pragma once

#include <array>
#include <cstdint>
#include <span>

/// Codes of the fields that a record can have; the numbers are those of the trace formats.
enum class field_code : std::uint32_t {
  end = 0,             ///< no further field
  id = 2,              ///< `___onx_id`, 24 bytes
  number = 3,          ///< unsigned 64-bit number, 8 bytes
  byte = 9,            ///< unsigned 8-bit number, 1 byte
  narrow_string = 13,  ///< as many bytes as the numeric field before it says
  wide_string = 14,    ///< twice as many bytes as the numeric field before it says
};

/// Name and field layout of one kind of record.
struct record_description {
  const char* name;
  std::uint64_t nominal_size_bytes;  ///< size without texts and metadata value; for readers of the table only
  std::array<field_code, 5> fields;
};

/// The kinds 0 to 17, by number.
extern const std::array<record_description, 18> record_descriptions;
