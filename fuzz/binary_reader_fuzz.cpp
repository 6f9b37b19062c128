// The records of one binary trace file, the bytes behind its header.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "reader/binary_reader_v0.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  text_arena texts;
  std::FILE* const file = fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
  if (file == nullptr) std::abort();
  binary_reader_v0 reader(0, file, 1, 1, texts);
  // A bad record does not end the reader; behind the end of the file only bad records follow.
  std::size_t bad_records = 0;
  trace_record record;
  while (reader.current_and_advance(record)) {
    if (record.kind == record_kind::bad_record && ++bad_records > 8) break;
    if (record.string == nullptr) continue;
    const bool is_wide = record.kind == record_kind::domain_create_w ||
                         record.kind == record_kind::metadata_string_w ||
                         record.kind == record_kind::string_handle_create_w;
    if (is_wide && std::wcslen(record.wide_string()) > size) std::abort();
  }
  return 0;
}
