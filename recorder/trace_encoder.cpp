#include "recorder/trace_encoder.h"

#include <array>
#include <charconv>
#include <utility>

namespace kzr {
namespace {

constexpr std::size_t longest_name = 255;

/// What fits a length of one byte.
template <class Text>
Text cut_to_name(Text text) {
  return text.substr(0, longest_name);
}

std::uint8_t length_byte(std::size_t length) { return static_cast<std::uint8_t>(length); }

}  // namespace

trace_encoder::trace_encoder(trace_form form, std::uint64_t frequency, std::uint64_t concurrency)
    : form_(form) {
  if (form_ == trace_form::binary) {
    bytes_ += 'A';
    add_little_endian(frequency, 8);
    add_little_endian(concurrency, 8);
  } else {
    bytes_ += "<trace version=\"0\" ts_frequency=\"" + std::to_string(frequency) +
              "\" hardware_concurrency=\"" + std::to_string(concurrency) + "\">\n";
  }
}

trace_encoder& trace_encoder::at(std::uint64_t timestamp) {
  time_ = timestamp;
  return *this;
}

template <class... Fields>
trace_encoder& trace_encoder::add_record(record_kind kind, const Fields&... fields) {
  begin_record(kind);
  (add(fields), ...);
  return end_record();
}

trace_encoder& trace_encoder::definition(std::uint8_t first, std::string_view text, std::uint8_t second,
                                         std::uint8_t third) {
  text = cut_to_name(text);
  return add_record(record_kind::definition, first, length_byte(text.size()), text, second, third);
}

trace_encoder& trace_encoder::api_version(std::string_view text) {
  text = cut_to_name(text);
  return add_record(record_kind::api_version, length_byte(text.size()), text);
}

trace_encoder& trace_encoder::domain(std::uint64_t handle, std::string_view name) {
  name = cut_to_name(name);
  return add_record(record_kind::domain_create_a, handle, length_byte(name.size()), name);
}

trace_encoder& trace_encoder::wide_domain(std::uint64_t handle, std::u16string_view name) {
  name = cut_to_name(name);
  return add_record(record_kind::domain_create_w, handle, length_byte(name.size()), name);
}

trace_encoder& trace_encoder::id_create(std::uint64_t domain, const object_id& id) {
  return add_record(record_kind::id_create, domain, id);
}

trace_encoder& trace_encoder::id_destroy(std::uint64_t domain, const object_id& id) {
  return add_record(record_kind::id_destroy, domain, id);
}

trace_encoder& trace_encoder::metadata(std::uint64_t domain, const object_id& id, std::uint64_t key,
                                       value_type type, std::uint64_t count, std::uint64_t value) {
  begin_record(record_kind::metadata);
  add(domain);
  add(id);
  add(key);
  add(static_cast<std::uint8_t>(type));
  add(count);
  if (count == 1) {
    if (form_ == trace_form::xml) {
      add_element("value", type == value_type::u32 ? static_cast<std::uint32_t>(value) : value);
    } else if (type == value_type::u64 || type == value_type::u32) {
      add_little_endian(value, type == value_type::u64 ? 8 : 4);
    }
  }
  return end_record();
}

trace_encoder& trace_encoder::metadata_string(std::uint64_t domain, const object_id& id, std::uint64_t key,
                                              std::string_view value) {
  return add_record(record_kind::metadata_string_a, domain, id, key, std::uint64_t{value.size()}, value);
}

trace_encoder& trace_encoder::wide_metadata_string(std::uint64_t domain, const object_id& id,
                                                   std::uint64_t key, std::u16string_view value) {
  return add_record(record_kind::metadata_string_w, domain, id, key, std::uint64_t{value.size()}, value);
}

trace_encoder& trace_encoder::relation(std::uint64_t domain, const object_id& head, relation_code code,
                                       const object_id& tail) {
  return add_record(record_kind::relation, domain, head, static_cast<std::uint8_t>(code), tail);
}

trace_encoder& trace_encoder::string_handle(std::uint64_t handle, std::string_view text) {
  text = cut_to_name(text);
  return add_record(record_kind::string_handle_create_a, handle, length_byte(text.size()), text);
}

trace_encoder& trace_encoder::wide_string_handle(std::uint64_t handle, std::u16string_view text) {
  text = cut_to_name(text);
  return add_record(record_kind::string_handle_create_w, handle, length_byte(text.size()), text);
}

trace_encoder& trace_encoder::task_begin(std::uint64_t domain, const object_id& id, const object_id& parent,
                                         std::uint64_t name, std::uint64_t extra) {
  return add_record(record_kind::task_begin, domain, id, parent, name, extra);
}

trace_encoder& trace_encoder::task_end(std::uint64_t domain) {
  return add_record(record_kind::task_end, domain);
}

trace_encoder& trace_encoder::task_group(std::uint64_t domain, const object_id& id, const object_id& parent,
                                         std::uint64_t name) {
  return add_record(record_kind::task_group, domain, id, parent, name);
}

trace_encoder& trace_encoder::region_begin(std::uint64_t domain, const object_id& id, const object_id& parent,
                                           std::uint64_t name) {
  return add_record(record_kind::region_begin, domain, id, parent, name);
}

trace_encoder& trace_encoder::region_end(std::uint64_t domain, const object_id& id) {
  return add_record(record_kind::region_end, domain, id);
}

trace_encoder& trace_encoder::end() { return add_record(record_kind::end_of_records).close_document(); }

trace_encoder& trace_encoder::close_document() {
  if (form_ == trace_form::xml) bytes_ += "</trace>\n";
  return *this;
}

std::string trace_encoder::take() { return std::exchange(bytes_, {}); }

void trace_encoder::begin_record(record_kind kind) {
  if (form_ == trace_form::binary) {
    bytes_ += static_cast<char>(kind);
    add_little_endian(time_, 8);
  } else {
    bytes_ += "<record><kind>";
    bytes_ += describe(kind).name;
    bytes_ += "</kind>";
    add_element("time", time_);
  }
  ++time_;
}

trace_encoder& trace_encoder::end_record() {
  if (form_ == trace_form::xml) bytes_ += "</record>\n";
  return *this;
}

void trace_encoder::add(std::uint64_t value) {
  if (form_ == trace_form::binary) {
    add_little_endian(value, 8);
  } else {
    add_element("number", value);
  }
}

void trace_encoder::add(std::uint8_t value) {
  if (form_ == trace_form::binary) {
    bytes_ += static_cast<char>(value);
  } else {
    add_element("number", value);
  }
}

void trace_encoder::add(const object_id& id) {
  if (form_ == trace_form::binary) {
    add_little_endian(id.d1, 8);
    add_little_endian(id.d2, 8);
    add_little_endian(id.d3, 8);
  } else {
    bytes_ += "<id>";
    add_element("word", id.d1);
    add_element("word", id.d2);
    add_element("word", id.d3);
    bytes_ += "</id>";
  }
}

void trace_encoder::add(std::string_view text) {
  if (form_ == trace_form::binary) {
    bytes_ += text;
  } else {
    // Readers keep leading blanks in elements of this name, and of few others.
    bytes_ += "<text>";
    bytes_ += text;
    bytes_ += "</text>";
  }
}

void trace_encoder::add(std::u16string_view text) {
  if (form_ == trace_form::xml) bytes_ += "<text>";
  for (const char16_t character : text) {
    bytes_ += static_cast<char>(character & 0xff);
    if (form_ == trace_form::binary) bytes_ += static_cast<char>(character >> 8);
  }
  if (form_ == trace_form::xml) bytes_ += "</text>";
}

void trace_encoder::add_little_endian(std::uint64_t value, int size_bytes) {
  std::array<char, 8> buffer{};
  for (char& byte : buffer) {
    byte = static_cast<char>(value & 0xff);
    value >>= 8;
  }
  bytes_.append(buffer.data(), static_cast<std::size_t>(size_bytes));
}

void trace_encoder::add_element(const char* name, std::uint64_t value) {
  std::array<char, 20> digits;
  const auto [last, error] = std::to_chars(digits.begin(), digits.end(), value);
  static_cast<void>(error);  // 20 digits hold every 64-bit number
  bytes_ += '<';
  bytes_ += name;
  bytes_ += '>';
  bytes_.append(digits.data(), static_cast<std::size_t>(last - digits.data()));
  bytes_ += "</";
  bytes_ += name;
  bytes_ += '>';
}

}  // namespace kzr
