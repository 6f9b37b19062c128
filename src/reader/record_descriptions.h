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

namespace record_fields {
inline constexpr auto none = field_code::end;
inline constexpr auto id = field_code::id;
inline constexpr auto number = field_code::number;
inline constexpr auto byte = field_code::byte;
inline constexpr auto text = field_code::narrow_string;
inline constexpr auto wide = field_code::wide_string;
}  // namespace record_fields

/// The kinds 0 to 17, by number. The nominal sizes of `definition` and `relation` differ by one from the sum
/// of their widths; that is meant.
inline constexpr std::array<record_description, 18> record_descriptions = [] {
  using namespace record_fields;
  return std::array<record_description, 18>{{
      {"definition", 12, {byte, byte, text, byte, byte}},
      {"api_version", 10, {byte, text, none, none, none}},
      {"domain_createA", 18, {number, byte, text, none, none}},
      {"domain_createW", 18, {number, byte, wide, none, none}},
      {"id_create", 41, {number, id, none, none, none}},
      {"id_destroy", 41, {number, id, none, none, none}},
      {"metadata", 58, {number, id, number, byte, number}},
      {"metadata_stringA", 57, {number, id, number, number, text}},
      {"metadata_stringW", 57, {number, id, number, number, wide}},
      {"relation", 67, {number, id, byte, id, none}},
      {"string_handle_createA", 18, {number, byte, text, none, none}},
      {"string_handle_createW", 18, {number, byte, wide, none, none}},
      {"task_begin", 81, {number, id, id, number, number}},
      {"task_end", 17, {number, none, none, none, none}},
      {"task_group", 73, {number, id, id, number, none}},
      {"region_begin", 73, {number, id, id, number, none}},
      {"region_end", 41, {number, id, none, none, none}},
      {"end_of_records", 9, {none, none, none, none, none}},
  }};
}();
