#include "recorder/trace_encoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>

#include "reader/record_descriptions.h"

namespace kzr {
namespace {

constexpr std::size_t longest_name = 255;

/// What a byte in the file tells the length of.
std::string_view short_name(std::string_view text) { return text.substr(0, longest_name); }
std::uint8_t length_of(std::string_view text) { return static_cast<std::uint8_t>(text.size()); }

// Fields in binary form: how many bytes they take, and putting them where `next` is.

template <class Number>
void put_little_endian(char*& next, Number value) {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(next, &value, sizeof value);
  } else {
    for (std::size_t index = 0; index < sizeof value; ++index) {
      next[index] = static_cast<char>(value >> (8 * index) & 0xff);
    }
  }
  next += sizeof value;
}

constexpr std::size_t size_of(std::uint8_t) { return 1; }
constexpr std::size_t size_of(std::uint32_t) { return 4; }
constexpr std::size_t size_of(std::uint64_t) { return 8; }
constexpr std::size_t size_of(const object_id&) { return 24; }
constexpr std::size_t size_of(std::string_view text) { return text.size(); }

void put(char*& next, std::uint8_t value) { put_little_endian(next, value); }
void put(char*& next, std::uint32_t value) { put_little_endian(next, value); }
void put(char*& next, std::uint64_t value) { put_little_endian(next, value); }
void put(char*& next, const object_id& id) {
  put_little_endian(next, id.d1);
  put_little_endian(next, id.d2);
  put_little_endian(next, id.d3);
}
void put(char*& next, std::string_view text) { next += text.copy(next, text.size()); }

}  // namespace

template <class... Fields>
void trace_encoder::add_record(record_kind kind, const Fields&... fields) {
  if (form_ == trace_form::binary) {
    const auto kind_byte = static_cast<std::uint8_t>(kind);
    reserve(size_ + size_of(kind_byte) + size_of(time_) + (size_of(fields) + ... + 0));
    char* next = bytes_.data() + size_;
    put(next, kind_byte);
    put(next, time_);
    (put(next, fields), ...);
    size_ = static_cast<std::size_t>(next - bytes_.data());
  } else {
    append("<record><kind>");
    append(describe(kind).name);
    append("</kind>");
    add_number_element("time", time_);
    (add_element(fields), ...);
    append("</record>\n");
  }
  ++time_;
}

trace_encoder::trace_encoder(trace_form form, std::uint64_t frequency, std::uint64_t concurrency)
    : form_(form) {
  if (form_ == trace_form::binary) {
    reserve(1 + size_of(frequency) + size_of(concurrency));
    char* next = bytes_.data();
    put(next, std::uint8_t{'A'});
    put(next, frequency);
    put(next, concurrency);
    size_ = static_cast<std::size_t>(next - bytes_.data());
  } else {
    append("<trace version=\"0\" ts_frequency=\"" + std::to_string(frequency) + "\" hardware_concurrency=\"" +
           std::to_string(concurrency) + "\">\n");
  }
}

trace_encoder& trace_encoder::at(std::uint64_t timestamp) {
  time_ = timestamp;
  return *this;
}

trace_encoder& trace_encoder::definition(std::uint8_t first, std::string_view text, std::uint8_t second,
                                         std::uint8_t third) {
  text = short_name(text);
  add_record(record_kind::definition, first, length_of(text), text, second, third);
  return *this;
}

trace_encoder& trace_encoder::api_version(std::string_view text) {
  text = short_name(text);
  add_record(record_kind::api_version, length_of(text), text);
  return *this;
}

trace_encoder& trace_encoder::domain(std::uint64_t handle, std::string_view name) {
  name = short_name(name);
  add_record(record_kind::domain_create_a, handle, length_of(name), name);
  return *this;
}

trace_encoder& trace_encoder::wide_domain(std::uint64_t handle, std::u16string_view name) {
  name = name.substr(0, longest_name);
  add_record(record_kind::domain_create_w, handle, static_cast<std::uint8_t>(name.size()),
             std::string_view(bytes_of(name)));
  return *this;
}

trace_encoder& trace_encoder::id_create(std::uint64_t domain, const object_id& id) {
  add_record(record_kind::id_create, domain, id);
  return *this;
}

trace_encoder& trace_encoder::id_destroy(std::uint64_t domain, const object_id& id) {
  add_record(record_kind::id_destroy, domain, id);
  return *this;
}

trace_encoder& trace_encoder::metadata(std::uint64_t domain, const object_id& id, std::uint64_t key,
                                       value_type type, std::uint64_t count, std::uint64_t value) {
  const auto kind_of_value = static_cast<std::uint8_t>(type);
  // In XML form every single value is there, in binary form those of known width.
  const bool has_value = count == 1;
  if (has_value && type == value_type::u32) {
    add_record(record_kind::metadata, domain, id, key, kind_of_value, count,
               static_cast<std::uint32_t>(value));
  } else if (has_value && (type == value_type::u64 || form_ == trace_form::xml)) {
    add_record(record_kind::metadata, domain, id, key, kind_of_value, count, value);
  } else {
    add_record(record_kind::metadata, domain, id, key, kind_of_value, count);
  }
  return *this;
}

trace_encoder& trace_encoder::metadata_string(std::uint64_t domain, const object_id& id, std::uint64_t key,
                                              std::string_view value) {
  add_record(record_kind::metadata_string_a, domain, id, key, std::uint64_t{value.size()}, value);
  return *this;
}

trace_encoder& trace_encoder::wide_metadata_string(std::uint64_t domain, const object_id& id,
                                                   std::uint64_t key, std::u16string_view value) {
  add_record(record_kind::metadata_string_w, domain, id, key, std::uint64_t{value.size()},
             std::string_view(bytes_of(value)));
  return *this;
}

trace_encoder& trace_encoder::relation(std::uint64_t domain, const object_id& head, relation_code code,
                                       const object_id& tail) {
  add_record(record_kind::relation, domain, head, static_cast<std::uint8_t>(code), tail);
  return *this;
}

trace_encoder& trace_encoder::string_handle(std::uint64_t handle, std::string_view text) {
  text = short_name(text);
  add_record(record_kind::string_handle_create_a, handle, length_of(text), text);
  return *this;
}

trace_encoder& trace_encoder::wide_string_handle(std::uint64_t handle, std::u16string_view text) {
  text = text.substr(0, longest_name);
  add_record(record_kind::string_handle_create_w, handle, static_cast<std::uint8_t>(text.size()),
             std::string_view(bytes_of(text)));
  return *this;
}

trace_encoder& trace_encoder::task_begin(std::uint64_t domain, const object_id& id, const object_id& parent,
                                         std::uint64_t name, std::uint64_t extra) {
  add_record(record_kind::task_begin, domain, id, parent, name, extra);
  return *this;
}

trace_encoder& trace_encoder::task_end(std::uint64_t domain) {
  add_record(record_kind::task_end, domain);
  return *this;
}

trace_encoder& trace_encoder::task_group(std::uint64_t domain, const object_id& id, const object_id& parent,
                                         std::uint64_t name) {
  add_record(record_kind::task_group, domain, id, parent, name);
  return *this;
}

trace_encoder& trace_encoder::region_begin(std::uint64_t domain, const object_id& id, const object_id& parent,
                                           std::uint64_t name) {
  add_record(record_kind::region_begin, domain, id, parent, name);
  return *this;
}

trace_encoder& trace_encoder::region_end(std::uint64_t domain, const object_id& id) {
  add_record(record_kind::region_end, domain, id);
  return *this;
}

trace_encoder& trace_encoder::end() {
  add_record(record_kind::end_of_records);
  return close_document();
}

trace_encoder& trace_encoder::close_document() {
  if (form_ == trace_form::xml) append("</trace>\n");
  return *this;
}

std::string trace_encoder::take() {
  std::string taken = bytes();
  clear();
  return taken;
}

void trace_encoder::reserve(std::size_t size_bytes) {
  if (size_bytes > bytes_.size()) bytes_.resize(std::max(size_bytes, 2 * bytes_.size()));
}

void trace_encoder::add_element(std::uint64_t value) { add_number_element("number", value); }

void trace_encoder::add_element(const object_id& id) {
  append("<id>");
  for (const std::uint64_t word : {id.d1, id.d2, id.d3}) add_number_element("word", word);
  append("</id>");
}

void trace_encoder::add_element(std::string_view text) {
  // Readers keep leading blanks in elements of this name, and of few others.
  append("<text>");
  append(text);
  append("</text>");
}

void trace_encoder::add_number_element(std::string_view name, std::uint64_t value) {
  std::array<char, 20> digits;
  const auto [last, error] = std::to_chars(digits.begin(), digits.end(), value);
  static_cast<void>(error);  // 20 digits hold every 64-bit number
  append("<");
  append(name);
  append(">");
  append({digits.data(), static_cast<std::size_t>(last - digits.data())});
  append("</");
  append(name);
  append(">");
}

std::string trace_encoder::bytes_of(std::u16string_view text) const {
  std::string bytes;
  for (const char16_t character : text) {
    bytes += static_cast<char>(character & 0xff);
    if (form_ == trace_form::binary) bytes += static_cast<char>(character >> 8);
  }
  return bytes;
}

void trace_encoder::append(std::string_view text) {
  reserve(size_ + text.size());
  size_ += text.copy(bytes_.data() + size_, text.size());
}

}  // namespace kzr
