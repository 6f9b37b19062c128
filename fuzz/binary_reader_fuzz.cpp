// The records of one binary trace file, the bytes behind its header.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "reader/binary_reader_v0.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  record_store store;
  std::FILE* const file = fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
  if (file == nullptr) std::abort();
  binary_reader_v0 reader("fuzzed", 0, file, 1, 1, store);
  // A bad record does not end the reader; behind the end of the file only bad records follow.
  std::size_t bad_records = 0;
  while (const auto record = reader.current_and_advance()) {
    if (record->kind == trace_record::bad_record && ++bad_records > 8) break;
    if (record->string == nullptr) continue;
    const bool is_wide = record->kind == 3 || record->kind == 8 || record->kind == 11;
    if (is_wide && std::wcslen(record->wide_string()) > size) std::abort();
  }
  return 0;
}
