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

}  // namespace

binary_reader_v0::binary_reader_v0(std::int32_t producer, std::FILE* file, std::uint64_t frequency,
                                   std::uint64_t concurrency, text_arena& texts)
    : trace_reader(producer, texts), file_(file), frequency_(frequency), concurrency_(concurrency) {
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
  record.offset = header_bytes + file_->taken_bytes();
  std::uint8_t kind = 0;
  if (!file_->read_byte(kind)) return make_bad_record(record, incomplete_record);
  record.kind = static_cast<record_kind>(kind);
  record.f[0] = kind;
  if (!read_whole(&record.f[1], sizeof record.f[1])) {
    return make_bad_record(record, incomplete_record);
  }
  if (!is_described(record.kind)) return make_bad_record(record, unknown_record);
  if (!read_fields(record) || !read_metadata_value(record)) make_bad_record(record, incomplete_record);
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
        if (!read_whole(&field, sizeof field)) return false;
        length = static_cast<std::uint32_t>(field);
        break;
      case field_code::byte: {
        std::uint8_t byte = 0;
        if (!file_->read_byte(byte)) return false;
        field = byte;
        length = byte;
        break;
      }
      case field_code::id:
        if (!read_whole(id++, sizeof *id)) return false;
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
  return arrived == length;
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
  return arrived == size_bytes;
}

bool binary_reader_v0::read_metadata_value(trace_record& record) {
  if (record.kind != record_kind::metadata || record.count() != 1) return true;
  const std::size_t width = record.type() == 1   ? sizeof(std::uint64_t)
                            : record.type() == 3 ? sizeof(std::uint32_t)
                                                 : 0;
  if (width == 0) return true;
  std::uint64_t value = 0;
  const bool is_whole = read_whole(&value, width);
  record.string = keep_value(value);
  return is_whole;
}

bool binary_reader_v0::read_whole(void* to, std::size_t size_bytes) {
  return file_->read_bytes(to, size_bytes) == size_bytes;
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
