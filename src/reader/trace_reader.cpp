#include "reader/trace_reader.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

#include "common/text_arena.h"
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

trace_reader::trace_reader(int producer, text_arena& texts) : producer_(producer), texts_(texts) {}

std::shared_ptr<trace_record> trace_reader::current_and_advance() { return nullptr; }

std::string trace_reader::freq() const { return {}; }

std::string trace_reader::hwc() const { return {}; }

void trace_reader::make_bad_record(const std::string& message) {
  current_->kind = trace_record::bad_record;
  current_->string = texts_.copy(message);
}

const void* trace_reader::keep_value(std::uint64_t value) {
  char* const cell = texts_.allocate(sizeof value + 1, alignof(std::uint64_t));
  std::memcpy(cell, &value, sizeof value);
  cell[sizeof value] = '\0';
  return cell;
}

void trace_reader::start_record() {
  // A record is usually let go before the next but one is read, so two objects take turns. One that somebody
  // still holds is left to its holder.
  std::shared_ptr<trace_record> fresh = std::exchange(spare_, std::move(current_));
  if (fresh && fresh.use_count() == 1) {
    fresh->reset();
  } else {
    fresh = std::make_shared<trace_record>();
  }
  fresh->producer = producer_;
  current_ = std::move(fresh);
}

std::shared_ptr<trace_reader> trace_reader::create_reader(const std::string& stem, int n, text_arena& texts) {
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
      return std::make_shared<binary_reader_v0>(file_name, n, file, frequency, concurrency, texts);
    }
  }
  std::fclose(file);
  if (mark == '<') return open_xml_trace(file_name, n, texts);
  return std::make_shared<trace_reader>(n, texts);
}
