#include "reader/trace_record.h"

#include <charconv>
#include <cstring>
#include <cwchar>
#include <iostream>
#include <string>

#include "common/append_number.h"
#include "common/text_arena.h"
#include "reader/record_descriptions.h"

namespace {
constexpr std::int32_t domain_create_w = 3;
constexpr std::int32_t metadata = 6;
constexpr std::int32_t metadata_string_w = 8;
constexpr std::int32_t string_handle_create_w = 11;
}  // namespace

void trace_record::reset() {
  kind = end_of_records;
  producer = -1;
  f = {};
  id = {};
  string = nullptr;
  raw_offset = 0;
  raw[0] = 0;
}

void trace_record::move_text_to(text_arena& texts) {
  if (string == nullptr) return;
  std::size_t size_bytes = 0;
  if (kind == domain_create_w || kind == metadata_string_w || kind == string_handle_create_w) {
    size_bytes = (std::wcslen(wide_string()) + 1) * sizeof(wchar_t);
  } else if (kind == metadata) {
    size_bytes = sizeof(std::uint64_t) + 1;  // with the zero byte that ends the value for those who print it
  } else {
    size_bytes = std::strlen(narrow_string()) + 1;
  }
  char* const moved = texts.allocate(size_bytes, alignof(std::uint64_t));
  std::memcpy(moved, string, size_bytes);
  string = moved;
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
  if (kind < 0 || static_cast<std::size_t>(kind) >= record_descriptions.size()) {
    text += "  **** ERROR: Unknown opcode\n";
  } else {
    text += record_descriptions[static_cast<std::size_t>(kind)].name;
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
