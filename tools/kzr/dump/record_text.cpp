#include "kzr/dump/record_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "kzr/common/printable.h"
#include "kzr/dump/record_size.h"
#include "reader/record_descriptions.h"
#include "reader/trace_record.h"

namespace {

std::string id_text(const ___onx_id& id) {
  return '(' + std::to_string(id.d1) + ", " + std::to_string(id.d2) + ", " + std::to_string(id.d3) + ')';
}

void add_line(std::string& text, const std::string& name, const std::string& value) {
  text += "   ";
  text += name;
  text += " = ";
  text += value;
  text += '\n';
}

/// Where the record keeps a field, and the field's name.
std::string label(const char* member, std::size_t index, const char* name) {
  return member + ('[' + std::to_string(index)) + "] " + name;
}

}  // namespace

std::string text_of(const trace_record& record) {
  const auto& fields = describe(record.kind).fields;
  const bool is_wide = std::any_of(fields.begin(), fields.end(), [](const record_field& field) {
    return field.code == field_code::wide_string;
  });
  if (!is_wide) return record.narrow_string();
  std::string text;
  for (const wchar_t* wide = record.wide_string(); *wide != L'\0'; ++wide) text += static_cast<char>(*wide);
  return text;
}

record_printer::record_printer(std::string stem) : stem_(std::move(stem)), file_(open(number_)) {}

const std::string& record_printer::print(const trace_record& record) {
  const record_description& description = describe(record.kind);
  text_ = std::to_string(record.producer) + ": " + description.name + '\n';
  if (is_binary(record)) add_bytes(record);
  add_line(text_, label("f", 0, "kind"), std::to_string(record.f[0]));
  add_line(text_, label("f", 1, "timestamp"), std::to_string(record.timestamp()));
  std::size_t ids = 0;
  for (std::size_t position = 0; position < description.fields.size(); ++position) {
    const auto& [name, code] = description.fields[position];
    switch (code) {
      case field_code::end:
        break;
      case field_code::number:
      case field_code::byte:
        add_line(text_, label("f", position + 2, name), std::to_string(record.f[position + 2]));
        break;
      case field_code::id:
        add_line(text_, label("id", ids, name), id_text(record.id[ids]));
        ++ids;
        break;
      case field_code::narrow_string:
      case field_code::wide_string:
        add_line(text_, name, '"' + printable(text_of(record)) + '"');
        break;
    }
  }
  if (record.kind == record_kind::metadata && record.string != nullptr) {
    add_line(text_, "value", std::to_string(record.value()));
  }
  return text_;
}

void record_printer::add_bytes(const trace_record& record) {
  constexpr char digits[] = "0123456789abcdef";
  const std::uint64_t end = record.offset + binary_size_of(record);
  text_ += "   raw bytes from " + std::to_string(record.offset) + ':';
  if (record.producer != number_ || !file_) {
    file_.reset();
    file_.reset(open(record.producer));
    number_ = record.producer;
  }
  if (!file_ || fseeko(file_.get(), static_cast<off_t>(record.offset), SEEK_SET) != 0) {
    text_ += " not to be read again\n";
    return;
  }
  std::array<unsigned char, 4096> bytes{};
  for (std::uint64_t left = end - record.offset; left > 0;) {
    const std::size_t read =
        std::fread(bytes.data(), 1, std::min<std::uint64_t>(left, bytes.size()), file_.get());
    if (read == 0) {
      text_ += " not to be read again";
      break;
    }
    for (std::size_t i = 0; i < read; ++i) {
      text_ += {' ', digits[bytes[i] >> 4U], digits[bytes[i] & 15U]};
    }
    left -= read;
  }
  text_ += '\n';
}

std::FILE* record_printer::open(int number) {
  return std::fopen((stem_ + '.' + std::to_string(number)).c_str(), "rbe");
}
