#include "reader/trace_reader.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "reader/binary_reader_v0.h"
#include "reader/xml_reader_v0.h"

namespace {

/// Reads one little-endian header number. A number cut short by the end of the file counts with the bytes
/// that are there; false when there is none.
bool read_header_number(std::FILE* file, std::uint64_t& number) {
  std::array<unsigned char, 8> bytes{};
  if (std::fread(bytes.data(), 1, bytes.size(), file) == 0) return false;
  number = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) number = number << 8 | bytes[i];
  return true;
}

}  // namespace

bool trace_reader::current_and_advance(trace_record&) { return false; }

std::string trace_reader::freq() const { return {}; }

std::string trace_reader::hwc() const { return {}; }

const void* trace_reader::keep_value(std::uint64_t value) {
  char* const cell = texts_.allocate(sizeof value + 1, alignof(std::uint64_t));
  std::memcpy(cell, &value, sizeof value);
  cell[sizeof value] = '\0';
  return cell;
}

void trace_reader::make_bad_record(trace_record& record, const char* reason) {
  record.kind = record_kind::bad_record;
  record.string = reason;
}

std::unique_ptr<trace_reader> trace_reader::create_reader(const std::string& stem, int n, text_arena& texts) {
  const std::string file_name = stem + "." + std::to_string(n);
  std::FILE* const file = std::fopen(file_name.c_str(), "rb");
  if (file == nullptr) return nullptr;
  // The binary reader brings a buffer of its own, which is what thousands of open files have to pay for.
  std::setvbuf(file, nullptr, _IONBF, 0);

  const int mark = std::fgetc(file);
  if (mark == 'A' || mark == 'a') {
    std::uint64_t frequency = 0;
    std::uint64_t concurrency = 0;
    if (read_header_number(file, frequency) && read_header_number(file, concurrency)) {
      return std::make_unique<binary_reader_v0>(n, file, frequency, concurrency, texts);
    }
  }
  std::fclose(file);
  if (mark == '<') return open_xml_trace(file_name, n, texts);
  return std::make_unique<trace_reader>(n, texts);
}
