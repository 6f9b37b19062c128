#include "reader/binary_reader_v0.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

namespace {

constexpr const char* incomplete_record = "incomplete record";
constexpr const char* unknown_record = "unknown record";
constexpr std::uint64_t header_bytes = 17;
/// Kind and timestamp of a record.
constexpr std::size_t head_bytes = 9;
constexpr std::size_t capture_room_bytes = 254;

std::size_t remaining_space(const trace_record& record) {
  const std::size_t distance = std::size_t{1} + record.raw[0];
  return distance < capture_room_bytes ? capture_room_bytes - distance : 0;
}

void capture(trace_record& record, const void* bytes, std::size_t size_bytes) {
  if (size_bytes > remaining_space(record)) return;
  std::memcpy(&record.raw[std::size_t{1} + record.raw[0]], bytes, size_bytes);
  record.raw[0] = static_cast<std::uint8_t>(record.raw[0] + size_bytes);
}

/// Takes the very last place too, which the other captures leave free.
void capture_byte(trace_record& record, std::uint8_t byte) {
  if (record.raw[0] < capture_room_bytes) record.raw[++record.raw[0]] = byte;
}

/// Captures zeros instead of a wide text, of which only the size matters, to the position of the next record.
void capture_blank(trace_record& record, std::size_t size_bytes) {
  if (size_bytes > remaining_space(record)) return;
  std::memset(&record.raw[std::size_t{1} + record.raw[0]], 0, size_bytes);
  record.raw[0] = static_cast<std::uint8_t>(record.raw[0] + size_bytes);
}

}  // namespace

binary_reader_v0::binary_reader_v0(std::int32_t producer, std::FILE* file, std::uint64_t frequency,
                                   std::uint64_t concurrency, text_arena& texts)
    : trace_reader(producer, texts),
      position_(header_bytes),
      file_(file),
      frequency_(frequency),
      concurrency_(concurrency) {
  done_ = false;
  has_current_ = true;
  look_ahead();
}

bool binary_reader_v0::current_and_advance(trace_record& record) {
  if (!has_current_) return false;
  record.reset(producer_);
  read_record(record);
  if (record.kind == record_kind::end_of_records) {
    has_current_ = false;
    file_.reset();
  } else {
    look_ahead();
  }
  return true;
}

void binary_reader_v0::look_ahead() {
  const std::span<const std::uint8_t> head = file_->look_ahead(head_bytes);
  timestamp_ = 0;
  if (head.size() > 1) std::memcpy(&timestamp_, &head[1], head.size() - 1);
}

std::string binary_reader_v0::freq() const { return std::to_string(frequency_); }

std::string binary_reader_v0::hwc() const { return std::to_string(concurrency_); }

void binary_reader_v0::read_record(trace_record& record) {
  record.raw_offset = position_;
  std::uint8_t kind = 0;
  if (!file_->read_byte(kind)) return make_bad_record(record, incomplete_record);
  capture_byte(record, kind);
  record.kind = static_cast<record_kind>(kind);
  record.f[0] = kind;
  if (!read_captured(record, &record.f[1], sizeof record.f[1])) {
    return make_bad_record(record, incomplete_record);
  }
  if (!is_described(record.kind)) return make_bad_record(record, unknown_record);
  if (!read_fields(record) || !read_metadata_value(record)) {
    return make_bad_record(record, incomplete_record);
  }
  // The count of captured bytes, not the size of the record: what was skipped by the capture is not counted.
  position_ += record.raw[0];
}

bool binary_reader_v0::read_fields(trace_record& record) {
  std::uint32_t length = 0;
  std::size_t position = 2;
  ___onx_id* id = record.id.data();
  for (const record_field& described : describe(record.kind).fields) {
    std::uint64_t& field = record.f[position++];
    switch (described.code) {
      case field_code::end:
        return true;
      case field_code::number:
        if (!read_captured(record, &field, sizeof field)) return false;
        length = static_cast<std::uint32_t>(field);
        break;
      case field_code::byte: {
        std::uint8_t byte = 0;
        if (!file_->read_byte(byte)) return false;
        capture_byte(record, byte);
        field = byte;
        length = byte;
        break;
      }
      case field_code::id:
        if (!read_captured(record, id++, sizeof *id)) return false;
        break;
      case field_code::narrow_string:
        if (!read_narrow_string(record, length)) return false;
        break;
      case field_code::wide_string:
        if (!read_wide_string(record, length)) return false;
        break;
    }
  }
  return true;
}

bool binary_reader_v0::read_narrow_string(trace_record& record, std::uint32_t length) {
  std::size_t arrived = 0;
  const char* const text = read_text(length, arrived);
  record.string = text;
  if (arrived < length) return false;
  capture(record, text, length);
  return true;
}

bool binary_reader_v0::read_wide_string(trace_record& record, std::uint32_t length) {
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
  record.string = wide;
  if (arrived < size_bytes) return false;
  capture_blank(record, std::size_t{4} * length);
  return true;
}

bool binary_reader_v0::read_metadata_value(trace_record& record) {
  if (record.kind != record_kind::metadata || record.count() != 1) return true;
  const std::size_t width = record.type() == 1   ? sizeof(std::uint64_t)
                            : record.type() == 3 ? sizeof(std::uint32_t)
                                                 : 0;
  if (width == 0) return true;
  std::uint64_t value = 0;
  const bool is_whole = read_captured(record, &value, width);
  record.string = keep_value(value);
  return is_whole;
}

bool binary_reader_v0::read_captured(trace_record& record, void* to, std::size_t size_bytes) {
  if (file_->read_bytes(to, size_bytes) < size_bytes) return false;
  capture(record, to, size_bytes);
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
