#include "reader/trace_record.h"

#include <charconv>
#include <iostream>
#include <string>
#include <string_view>

#include "common/append_number.h"

namespace {

/// Whether all kinds with a field of that name have it at the same position, since one accessor reads it.
constexpr bool is_at_one_position(std::string_view name) {
  std::size_t common = most_fields;
  for (std::size_t kind = 0; kind < record_descriptions.size(); ++kind) {
    const std::size_t position = field_position(static_cast<record_kind>(kind), name);
    if (position == most_fields) continue;
    if (common != most_fields && common != position) return false;
    common = position;
  }
  return common != most_fields;
}

static_assert(is_at_one_position("domain") && is_at_one_position("handle") && is_at_one_position("name") &&
              is_at_one_position("processor") && is_at_one_position("key") && is_at_one_position("type") &&
              is_at_one_position("count") && is_at_one_position("relation"));

}  // namespace

void trace_record::reset(std::int32_t of_producer) {
  kind = record_kind::end_of_records;
  producer = of_producer;
  f = {};
  id = {};
  string = nullptr;
  raw_offset = 0;
  raw[0] = 0;
}

namespace {

void append_hex(std::string& text, std::uint64_t number) {
  std::array<char, 16> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16);
  text.append(digits.data(), result.ptr);
}

void append_indexed(std::string& text, const char* before, std::size_t index, const char* behind) {
  text += before;
  append_number(text, index);
  text += behind;
}

}  // namespace

void trace_record::dump() const {
  std::string text;
  if (raw[0] != 0) {
    text += "\nraw bytes ";
    append_hex(text, raw_offset);
    text += " : ";
    // The count byte comes first and the last captured byte is left out. That is meant.
    for (std::size_t i = 0; i < raw[0]; ++i) append_hex(text, raw[i]);
    text += '\n';
  }
  append_number(text, producer);
  text += ": ";
  if (!is_described(kind)) {
    text += "  **** ERROR: Unknown opcode\n";
  } else {
    text += describe(kind).name;
    text += '\n';
    for (std::size_t i = 0; i < f.size(); ++i) {
      append_indexed(text, "   f[", i, "] = ");
      append_number(text, f[i]);
      text += '\n';
    }
    for (std::size_t k = 0; k < id.size(); ++k) {
      append_indexed(text, "   id[", k, "] = (");
      append_number(text, id[k].d1);
      text += ", ";
      append_number(text, id[k].d2);
      text += ", ";
      append_number(text, id[k].d3);
      text += " )\n";
    }
    text += "   string = ";
    text += string != nullptr ? narrow_string() : "NULL";
    text += '\n';
  }
  std::cout << text;
}
