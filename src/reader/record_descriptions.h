#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The kinds of records by their numbers in the trace formats, and what a reader makes of a record that it
/// cannot decode.
enum class record_kind : std::int32_t {
  definition,
  api_version,
  domain_create_a,
  domain_create_w,
  id_create,
  id_destroy,
  metadata,
  metadata_string_a,
  metadata_string_w,
  relation,
  string_handle_create_a,
  string_handle_create_w,
  task_begin,
  task_end,
  task_group,
  region_begin,
  region_end,
  end_of_records,
  bad_record,
};

/// Codes of the fields that a record can have; the numbers are those of the trace formats.
enum class field_code : std::uint32_t {
  end = 0,             ///< no further field
  id = 2,              ///< `___onx_id`, 24 bytes
  number = 3,          ///< unsigned 64-bit number, 8 bytes
  byte = 9,            ///< unsigned 8-bit number, 1 byte
  narrow_string = 13,  ///< as many bytes as the numeric field before it says
  wide_string = 14,    ///< twice as many bytes as the numeric field before it says
};

/// One field of a record: its name and how it is stored.
struct record_field {
  const char* name = "";
  field_code code = field_code::end;
};

/// How many fields a record has at most.
inline constexpr std::size_t most_fields = 5;

/// Name and field layout of one kind of record.
struct record_description {
  const char* name;
  std::array<record_field, most_fields> fields;
};

/// The kinds from `definition` to `end_of_records`, by number. The one place that knows their layout:
/// readers, recorder, processor and tools work from it.
inline constexpr std::array<record_description, 18> record_descriptions = [] {
  constexpr auto id = field_code::id;
  constexpr auto number = field_code::number;
  constexpr auto byte = field_code::byte;
  constexpr auto text = field_code::narrow_string;
  constexpr auto wide = field_code::wide_string;
  constexpr record_field domain{"domain", number};
  constexpr record_field handle{"handle", number};
  constexpr record_field object{"object", id};
  constexpr record_field parent{"parent", id};
  constexpr record_field key{"key", number};
  constexpr record_field name{"name", number};
  constexpr record_field length{"length", byte};
  constexpr record_field long_length{"length", number};
  return std::array<record_description, 18>{{
      {"definition", {{{"first", byte}, length, {"text", text}, {"second", byte}, {"third", byte}}}},
      {"api_version", {{length, {"text", text}}}},
      {"domain_createA", {{handle, length, {"text", text}}}},
      {"domain_createW", {{handle, length, {"text", wide}}}},
      {"id_create", {{domain, object}}},
      {"id_destroy", {{domain, object}}},
      {"metadata", {{domain, object, key, {"type", byte}, {"count", number}}}},
      {"metadata_stringA", {{domain, object, key, long_length, {"text", text}}}},
      {"metadata_stringW", {{domain, object, key, long_length, {"text", wide}}}},
      {"relation", {{domain, {"head", id}, {"relation", byte}, {"tail", id}}}},
      {"string_handle_createA", {{handle, length, {"text", text}}}},
      {"string_handle_createW", {{handle, length, {"text", wide}}}},
      {"task_begin", {{domain, object, parent, name, {"processor", number}}}},
      {"task_end", {{domain}}},
      {"task_group", {{domain, object, parent, name}}},
      {"region_begin", {{domain, object, parent, name}}},
      {"region_end", {{domain, object}}},
      {"end_of_records", {}},
  }};
}();

static_assert(record_descriptions.size() == static_cast<std::size_t>(record_kind::bad_record),
              "each kind in front of the bad record has a row, by number");

/// Whether records of the kind have a row in `record_descriptions`.
[[nodiscard]] constexpr bool is_described(record_kind kind) {
  return static_cast<std::size_t>(kind) < record_descriptions.size();
}

/// The row of a kind that has one.
[[nodiscard]] constexpr const record_description& describe(record_kind kind) {
  return record_descriptions[static_cast<std::size_t>(kind)];
}

/// Position of the field `name` in records of the kind; `most_fields` when they have none.
[[nodiscard]] constexpr std::size_t field_position(record_kind kind, std::string_view name) {
  const auto& fields = describe(kind).fields;
  std::size_t position = 0;
  while (position < fields.size() && fields[position].name != name) ++position;
  return position;
}

/// Where a record of the kind keeps the numeric field `name`, in `trace_record::f`.
[[nodiscard]] consteval std::size_t field_index(record_kind kind, std::string_view name) {
  return field_position(kind, name) + 2;
}
