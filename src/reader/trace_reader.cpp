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

std::shared_ptr<trace_record> trace_reader::current_and_advance() { return nullptr; }

std::string trace_reader::freq() const { return {}; }

std::string trace_reader::hwc() const { return {}; }

void trace_reader::move_text_ahead(text_arena&) {}

const void* trace_reader::keep_value(std::uint64_t value) {
  char* const cell = store_.texts().allocate(sizeof value + 1, alignof(std::uint64_t));
  std::memcpy(cell, &value, sizeof value);
  cell[sizeof value] = '\0';
  return cell;
}

std::shared_ptr<trace_record> trace_reader::start_record() {
  std::shared_ptr<trace_record> record = store_.make_record();
  record->producer = producer_;
  return record;
}

void trace_reader::make_bad_record(trace_record& record, const char* message) {
  record.kind = trace_record::bad_record;
  record.string = store_.texts().copy(message);
}

std::shared_ptr<trace_reader> trace_reader::create_reader(const std::string& stem, int n,
                                                          record_store& store) {
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
      return std::make_shared<binary_reader_v0>(file_name, n, file, frequency, concurrency, store);
    }
  }
  std::fclose(file);
  if (mark == '<') return open_xml_trace(file_name, n, store);
  return std::make_shared<trace_reader>(n, store);
}
