#include "kzr/dump/record_size.h"

#include "reader/record_descriptions.h"
#include "reader/trace_record.h"

std::uint64_t binary_size_of(const trace_record& record) {
  if (!is_binary(record)) return 0;
  std::uint64_t size_bytes = 9;
  std::uint32_t length = 0;
  const record_description& description = describe(record.kind);
  for (std::size_t position = 0; position < description.fields.size(); ++position) {
    switch (description.fields[position].code) {
      case field_code::end:
        break;
      case field_code::id:
        size_bytes += 24;
        break;
      case field_code::number:
        size_bytes += 8;
        length = static_cast<std::uint32_t>(record.f[position + 2]);
        break;
      case field_code::byte:
        size_bytes += 1;
        length = static_cast<std::uint32_t>(record.f[position + 2]);
        break;
      case field_code::narrow_string:
        size_bytes += length;
        break;
      case field_code::wide_string:
        size_bytes += std::uint64_t{2} * length;
        break;
    }
  }
  const bool has_value = record.kind == record_kind::metadata && record.string != nullptr;
  return has_value ? size_bytes + (record.type() == 1 ? 8 : 4) : size_bytes;
}

bool is_binary(const trace_record& record) { return record.offset != 0; }
