#include "reader/record_descriptions.h"

namespace {
constexpr auto none = field_code::end;
constexpr auto id = field_code::id;
constexpr auto number = field_code::number;
constexpr auto byte = field_code::byte;
constexpr auto text = field_code::narrow_string;
constexpr auto wide = field_code::wide_string;
}  // namespace

// The nominal sizes of `definition` and `relation` differ by one from the sum of their widths; that is meant.
const std::array<record_description, 18> record_descriptions = {{
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
