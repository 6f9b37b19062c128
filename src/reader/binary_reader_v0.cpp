#include "reader/binary_reader_v0.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/text_arena.h"
#include "reader/record_descriptions.h"

namespace {
constexpr const char* incomplete_record = "incomplete record";
constexpr const char* unknown_record = "unknown record";
constexpr std::uint64_t header_bytes = 17;
constexpr std::size_t metadata_kind = 6;
constexpr std::size_t capture_room_bytes = 254;
}  // namespace

binary_reader_v0::binary_reader_v0(const std::string& file_name, int producer, std::FILE* file,
                                   unsigned long frequency, unsigned long concurrency, text_arena& texts)
    : trace_reader(producer, texts),
      position_(header_bytes),
      file_name_(file_name),
      file_(std::make_unique<input_window>(file)),
      frequency_(frequency),
      concurrency_(concurrency) {
  done_ = false;
  make_record();
}

std::shared_ptr<trace_record> binary_reader_v0::current_and_advance() {
  std::shared_ptr<trace_record> record = current_;
  next_record();
  return record;
}

std::string binary_reader_v0::freq() const { return std::to_string(frequency_); }

std::string binary_reader_v0::hwc() const { return std::to_string(concurrency_); }

void binary_reader_v0::next_record() {
  if (!current_) return;
  if (current_->kind == trace_record::end_of_records) {
    current_.reset();
    file_.reset();
  } else {
    make_record();
  }
}

void binary_reader_v0::make_record() {
  start_record();
  current_->raw_offset = position_;
  std::uint8_t kind = 0;
  if (!file_->read_byte(kind)) {
    make_bad_record(incomplete_record);
    return;
  }
  capture_byte(kind);
  current_->kind = kind;
  current_->f[0] = kind;
  if (read_whole_record(kind)) {
    position_ += current_->raw[0];
    return;
  }
  if (!read_captured_number(current_->f[1])) {
    make_bad_record(incomplete_record);
    return;
  }
  if (kind >= record_descriptions.size()) {
    make_bad_record(unknown_record);
    return;
  }
  if (!read_fields() || !read_metadata_value()) {
    make_bad_record(incomplete_record);
    return;
  }
  // The count of captured bytes, not the size of the record: what was skipped by the capture is not counted.
  position_ += current_->raw[0];
}

namespace {

constexpr std::size_t number_bytes = sizeof(std::uint64_t);

/// Size of the record's timestamp and fields when they are numbers and identifiers only, else 0.
constexpr std::size_t size_without_texts(const record_description& description) {
  std::size_t size_bytes = number_bytes;
  for (const field_code code : description.fields) {
    if (code == field_code::narrow_string || code == field_code::wide_string) return 0;
    if (code == field_code::number) size_bytes += number_bytes;
    if (code == field_code::byte) size_bytes += 1;
    if (code == field_code::id) size_bytes += 3 * number_bytes;
  }
  return size_bytes;
}

/// By kind; 0 for the kinds that the way field by field has to read: those with texts, and metadata, whose
/// value is no field.
std::array<std::size_t, record_descriptions.size()> list_whole_record_bytes() {
  std::array<std::size_t, record_descriptions.size()> sizes{};
  for (std::size_t kind = 0; kind < sizes.size(); ++kind) {
    sizes[kind] = kind == metadata_kind ? 0 : size_without_texts(record_descriptions[kind]);
  }
  return sizes;
}
const auto whole_record_bytes = list_whole_record_bytes();

}  // namespace

bool binary_reader_v0::read_whole_record(std::uint8_t kind) {
  const std::size_t size_bytes = kind < whole_record_bytes.size() ? whole_record_bytes[kind] : 0;
  if (size_bytes == 0) return false;
  const std::uint8_t* next = file_->take(size_bytes);
  if (next == nullptr) return false;
  capture(next, size_bytes);
  const auto take_number = [&next] {
    std::uint64_t number = 0;
    std::memcpy(&number, next, sizeof number);
    next += sizeof number;
    return number;
  };
  trace_record& record = *current_;
  record.f[1] = take_number();
  std::size_t k = 0;
  const auto& codes = record_descriptions[kind].fields;
  for (std::size_t p = 0; p < codes.size() && codes[p] != field_code::end; ++p) {
    if (codes[p] == field_code::number) {
      record.f[p + 2] = take_number();
    } else if (codes[p] == field_code::byte) {
      record.f[p + 2] = *next++;
    } else {
      ___onx_id& id = record.id[k++];
      id.d1 = take_number();
      id.d2 = take_number();
      id.d3 = take_number();
    }
  }
  return true;
}

bool binary_reader_v0::read_fields() {
  trace_record& record = *current_;
  const auto& codes = record_descriptions[static_cast<std::size_t>(record.kind)].fields;
  std::uint32_t length = 0;
  std::size_t k = 0;
  for (std::size_t p = 0; p < codes.size(); ++p) {
    std::uint64_t& field = record.f[p + 2];
    switch (codes[p]) {
      case field_code::end:
        return true;
      case field_code::number:
        if (!read_captured_number(field)) return false;
        length = static_cast<std::uint32_t>(field);
        break;
      case field_code::byte: {
        std::uint8_t byte = 0;
        if (!file_->read_byte(byte)) return false;
        capture_byte(byte);
        field = byte;
        length = byte;
        break;
      }
      case field_code::id:
        if (!read_id(k++)) return false;
        break;
      case field_code::narrow_string:
        if (!read_narrow_string(length)) return false;
        break;
      case field_code::wide_string:
        if (!read_wide_string(length)) return false;
        break;
    }
  }
  return true;
}

bool binary_reader_v0::read_id(std::size_t k) {
  ___onx_id& id = current_->id[k];
  return read_captured_number(id.d1) && read_captured_number(id.d2) && read_captured_number(id.d3);
}

bool binary_reader_v0::read_narrow_string(std::uint32_t length) {
  std::size_t arrived = 0;
  const char* const text = read_text(length, arrived);
  current_->string = text;
  if (arrived < length) return false;
  capture(text, length);
  return true;
}

bool binary_reader_v0::read_wide_string(std::uint32_t length) {
  const std::size_t size_bytes = std::size_t{2} * length;
  std::size_t arrived = 0;
  const char* const bytes = read_text(size_bytes, arrived);
  // The conversion ends at the first zero byte, so 16-bit characters come out as their first one only; that
  // is what users of such names see. It takes no more room than the bytes that are there.
  const std::size_t room = arrived < size_bytes ? 0 : std::min<std::size_t>(length, std::strlen(bytes));
  auto* const wide =
      reinterpret_cast<wchar_t*>(texts_.allocate((room + 1) * sizeof(wchar_t), alignof(wchar_t)));
  std::fill_n(wide, room + 1, L'\0');
  // Bytes that cannot be converted end the text where they stand.
  std::mbstowcs(wide, bytes, room);
  current_->string = wide;
  if (arrived < size_bytes) return false;
  capture_blank(std::size_t{4} * length);
  return true;
}

bool binary_reader_v0::read_metadata_value() {
  trace_record& record = *current_;
  if (static_cast<std::size_t>(record.kind) != metadata_kind || record.f[6] != 1) return true;
  if (record.f[5] != 1 && record.f[5] != 3) return true;
  const std::size_t width = record.f[5] == 1 ? sizeof(std::uint64_t) : sizeof(std::uint32_t);
  std::uint64_t value = 0;
  const std::size_t arrived = file_->read_bytes(&value, width);
  record.string = keep_value(value);
  if (arrived < width) return false;
  capture(&value, width);
  return true;
}

bool binary_reader_v0::read_captured_number(std::uint64_t& number) {
  if (!file_->read_number(number)) return false;
  capture(&number, sizeof number);
  return true;
}

const char* binary_reader_v0::read_text(std::size_t length, std::size_t& arrived) {
  constexpr std::size_t piece_bytes = 64 * 1024;
  if (length <= piece_bytes) {
    char* const text = texts_.allocate(length + 1);
    arrived = file_->read_bytes(text, length);
    text[arrived] = '\0';
    return text;
  }
  // A length from a file is no reason to take memory: the buffer grows with the bytes that arrive.
  std::vector<char> bytes;
  arrived = 0;
  while (arrived < length) {
    const std::size_t piece = std::min(length - arrived, std::max(piece_bytes, arrived));
    bytes.resize(arrived + piece);
    const std::size_t got = file_->read_bytes(bytes.data() + arrived, piece);
    arrived += got;
    if (got < piece) break;
  }
  return texts_.copy({bytes.data(), arrived});
}

std::size_t binary_reader_v0::remaining_space() const {
  const std::size_t distance = std::size_t{1} + current_->raw[0];
  return distance < capture_room_bytes ? capture_room_bytes - distance : 0;
}

void binary_reader_v0::capture(const void* bytes, std::size_t size_bytes) {
  if (size_bytes > remaining_space()) return;
  auto& raw = current_->raw;
  std::memcpy(&raw[std::size_t{1} + raw[0]], bytes, size_bytes);
  raw[0] = static_cast<std::uint8_t>(raw[0] + size_bytes);
}

void binary_reader_v0::capture_byte(std::uint8_t byte) {
  // Takes the very last place too, which the other captures leave free.
  auto& raw = current_->raw;
  if (raw[0] < capture_room_bytes) raw[++raw[0]] = byte;
}

void binary_reader_v0::capture_blank(std::size_t size_bytes) {
  // The captured bytes of a wide text stay zero; only their number matters, to the position of the next
  // record.
  auto& raw = current_->raw;
  if (size_bytes <= remaining_space()) raw[0] = static_cast<std::uint8_t>(raw[0] + size_bytes);
}
