#include "reader/binary_reader_v0.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

#include "reader/record_descriptions.h"

namespace {
constexpr const char* incomplete_record = "incomplete record";
constexpr const char* unknown_record = "unknown record";
constexpr std::uint64_t header_bytes = 17;
/// Kind and timestamp of a record.
constexpr std::size_t head_bytes = 9;
constexpr std::size_t metadata_kind = 6;
constexpr std::size_t capture_room_bytes = 254;
constexpr std::size_t longest_plain_text = 2048;
}  // namespace

binary_reader_v0::binary_reader_v0(const std::string& file_name, int producer, std::FILE* file,
                                   unsigned long frequency, unsigned long concurrency, record_store& store)
    : trace_reader(producer, store),
      position_(header_bytes),
      file_(file),
      frequency_(frequency),
      concurrency_(concurrency),
      file_name_(file_name) {
  done_ = false;
  has_current_ = true;
  look_ahead();
}

std::shared_ptr<trace_record> binary_reader_v0::current_and_advance() {
  if (!has_current_) return nullptr;
  std::shared_ptr<trace_record> record = start_record();
  read_record(*record);
  if (record->kind == trace_record::end_of_records) {
    has_current_ = false;
    file_.reset();
  } else {
    look_ahead();
  }
  return record;
}

void binary_reader_v0::look_ahead() {
  const std::span<const std::uint8_t> head = file_->look_ahead(head_bytes);
  timestamp_ = 0;
  current_bytes_ = head.data();
  if (head.size() > 1) std::memcpy(&timestamp_, &head[1], head.size() - 1);
}

std::string binary_reader_v0::freq() const { return std::to_string(frequency_); }

std::string binary_reader_v0::hwc() const { return std::to_string(concurrency_); }

namespace {

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

/// The place of the text among the fields of the kind; that behind the last field when there is none.
constexpr std::size_t text_place(std::size_t kind) {
  const auto& codes = record_descriptions[kind].fields;
  std::size_t place = 0;
  while (place < codes.size() && codes[place] != field_code::end &&
         codes[place] != field_code::narrow_string && codes[place] != field_code::wide_string) {
    ++place;
  }
  return place;
}

/// Whether the fields of the kind are numbers and identifiers, and at most a narrow text behind them.
constexpr bool is_plain(std::size_t kind) {
  const auto& codes = record_descriptions[kind].fields;
  const std::size_t place = text_place(kind);
  const bool ends_there = place + 1 >= codes.size() || codes[place + 1] == field_code::end;
  const bool has_wide_text = place < codes.size() && codes[place] == field_code::wide_string;
  return ends_there && !has_wide_text;
}

constexpr bool has_text(std::size_t kind) {
  const std::size_t place = text_place(kind);
  return place < record_descriptions[kind].fields.size() &&
         record_descriptions[kind].fields[place] == field_code::narrow_string;
}

/// Size in bytes of a record of the kind without its text.
constexpr std::size_t bytes_before_text(std::size_t kind) {
  std::size_t size_bytes = head_bytes;
  for (std::size_t p = 0; p < text_place(kind); ++p) {
    const field_code code = record_descriptions[kind].fields[p];
    if (code == field_code::number) size_bytes += sizeof(std::uint64_t);
    if (code == field_code::byte) size_bytes += 1;
    if (code == field_code::id) size_bytes += sizeof(___onx_id);
  }
  return size_bytes;
}

/// Decodes the record of the kind `Kind` that lies at `bytes`, up to its text, without a decision left to the
/// run.
template <std::size_t Kind>
void decode_before_text(trace_record& record, const std::uint8_t* bytes) {
  constexpr std::size_t size_bytes = bytes_before_text(Kind);
  record.kind = static_cast<std::int32_t>(Kind);
  record.f[0] = Kind;
  record.raw[0] = static_cast<std::uint8_t>(size_bytes);
  std::memcpy(&record.raw[1], bytes, size_bytes);
  std::memcpy(&record.f[1], bytes + 1, sizeof(std::uint64_t));
  bytes += head_bytes;
  std::size_t k = 0;
  for (std::size_t p = 0; p < text_place(Kind); ++p) {
    const field_code code = record_descriptions[Kind].fields[p];
    if (code == field_code::number) {
      std::memcpy(&record.f[p + 2], bytes, sizeof(std::uint64_t));
      bytes += sizeof(std::uint64_t);
    } else if (code == field_code::byte) {
      record.f[p + 2] = *bytes++;
    } else {
      std::memcpy(&record.id[k++], bytes, sizeof(___onx_id));
      bytes += sizeof(___onx_id);
    }
  }
}

/// How the records of one kind are decoded at once; no function for those that cannot be.
struct plain_record_decoder {
  void (*decode)(trace_record& record, const std::uint8_t* bytes) = nullptr;
  std::size_t size_bytes = 0;    ///< without the text
  std::size_t length_field = 0;  ///< which of `trace_record::f` has the length of the text; 0 without a text
};

template <std::size_t Kind>
constexpr plain_record_decoder decoder_of() {
  if constexpr (!is_plain(Kind)) {
    return {};
  } else {
    return {decode_before_text<Kind>, bytes_before_text(Kind), has_text(Kind) ? text_place(Kind) + 1 : 0};
  }
}

template <std::size_t... Kinds>
constexpr auto list_decoders(std::index_sequence<Kinds...>) {
  return std::array{decoder_of<Kinds>()...};
}

/// By kind.
constexpr auto plain_record_decoders = list_decoders(std::make_index_sequence<record_descriptions.size()>{});

/// Size in bytes of the value behind the fields of a metadata record; 0 when there is none that counts.
std::size_t value_bytes(const trace_record& record) {
  if (static_cast<std::size_t>(record.kind) != metadata_kind || record.f[6] != 1) return 0;
  if (record.f[5] == 1) return sizeof(std::uint64_t);
  return record.f[5] == 3 ? sizeof(std::uint32_t) : 0;
}

}  // namespace

bool binary_reader_v0::read_plain_record(trace_record& record) {
  const std::span<const std::uint8_t> head = file_->look_ahead(head_bytes);
  if (head.empty() || head[0] >= plain_record_decoders.size()) return false;
  const plain_record_decoder& decoder = plain_record_decoders[head[0]];
  if (decoder.decode == nullptr) return false;
  std::span<const std::uint8_t> bytes = file_->look_ahead(decoder.size_bytes);
  if (bytes.size() < decoder.size_bytes) return false;
  decoder.decode(record, bytes.data());
  if (decoder.length_field != 0) {
    const auto length = static_cast<std::uint32_t>(record.f[decoder.length_field]);
    if (length > longest_plain_text) return false;
    bytes = file_->look_ahead(decoder.size_bytes + length);
    if (bytes.size() < decoder.size_bytes + length) return false;
    const std::span<const std::uint8_t> text = bytes.subspan(decoder.size_bytes);
    record.string = store_.texts().copy({reinterpret_cast<const char*>(text.data()), text.size()});
    capture(record, text.data(), text.size());
  } else if (const std::size_t width = value_bytes(record); width > 0) {
    bytes = file_->look_ahead(decoder.size_bytes + width);
    if (bytes.size() < decoder.size_bytes + width) return false;
    std::uint64_t value = 0;
    std::memcpy(&value, &bytes[decoder.size_bytes], width);
    record.string = keep_value(value);
    capture(record, &value, width);
  }
  file_->skip(bytes.size());
  // The count of captured bytes, not the size of the record: what was skipped by the capture is not counted.
  position_ += record.raw[0];
  return true;
}

void binary_reader_v0::read_record(trace_record& record) {
  record.raw_offset = position_;
  if (read_plain_record(record)) return;
  record.raw[0] = 0;
  std::uint8_t kind = 0;
  if (!file_->read_byte(kind)) {
    make_bad_record(record, incomplete_record);
    return;
  }
  capture_byte(record, kind);
  record.kind = kind;
  record.f[0] = kind;
  if (!read_captured_number(record, record.f[1])) {
    make_bad_record(record, incomplete_record);
    return;
  }
  if (kind >= record_descriptions.size()) {
    make_bad_record(record, unknown_record);
    return;
  }
  if (!read_fields(record) || !read_metadata_value(record)) {
    make_bad_record(record, incomplete_record);
    return;
  }
  position_ += record.raw[0];
}

bool binary_reader_v0::read_fields(trace_record& record) {
  const auto& codes = record_descriptions[static_cast<std::size_t>(record.kind)].fields;
  std::uint32_t length = 0;
  std::size_t k = 0;
  for (std::size_t p = 0; p < codes.size(); ++p) {
    std::uint64_t& field = record.f[p + 2];
    switch (codes[p]) {
      case field_code::end:
        return true;
      case field_code::number:
        if (!read_captured_number(record, field)) return false;
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
        if (!read_id(record, k++)) return false;
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

bool binary_reader_v0::read_id(trace_record& record, std::size_t k) {
  ___onx_id& id = record.id[k];
  return read_captured_number(record, id.d1) && read_captured_number(record, id.d2) &&
         read_captured_number(record, id.d3);
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
      reinterpret_cast<wchar_t*>(store_.texts().allocate((room + 1) * sizeof(wchar_t), alignof(wchar_t)));
  std::fill_n(wide, room + 1, L'\0');
  // Bytes that cannot be converted end the text where they stand.
  std::mbstowcs(wide, bytes, room);
  record.string = wide;
  if (arrived < size_bytes) return false;
  capture_blank(record, std::size_t{4} * length);
  return true;
}

bool binary_reader_v0::read_metadata_value(trace_record& record) {
  const std::size_t width = value_bytes(record);
  if (width == 0) return true;
  std::uint64_t value = 0;
  const std::size_t arrived = file_->read_bytes(&value, width);
  record.string = keep_value(value);
  if (arrived < width) return false;
  capture(record, &value, width);
  return true;
}

bool binary_reader_v0::read_captured_number(trace_record& record, std::uint64_t& number) {
  if (!file_->read_number(number)) return false;
  capture(record, &number, sizeof number);
  return true;
}

const char* binary_reader_v0::read_text(std::size_t length, std::size_t& arrived) {
  constexpr std::size_t piece_bytes = 64 * 1024;
  if (length <= piece_bytes) {
    char* const text = store_.texts().allocate(length + 1);
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
  return store_.texts().copy({bytes.data(), arrived});
}
