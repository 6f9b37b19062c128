#include "recorder/trace_encoder.h"

#include <array>
#include <charconv>
#include <utility>

namespace kzr {
namespace {

/// Numbers of the record kinds in the binary form.
enum record_kind : std::uint8_t {
  kind_definition,
  kind_api_version,
  kind_domain,
  kind_wide_domain,
  kind_id_create,
  kind_id_destroy,
  kind_metadata,
  kind_metadata_string,
  kind_wide_metadata_string,
  kind_relation,
  kind_string_handle,
  kind_wide_string_handle,
  kind_task_begin,
  kind_task_end,
  kind_task_group,
  kind_region_begin,
  kind_region_end,
  kind_end_of_records,
};

/// Names of the record kinds in the XML form.
constexpr std::array<const char*, 18> kind_names = {"definition",
                                                    "api_version",
                                                    "domain_createA",
                                                    "domain_createW",
                                                    "id_create",
                                                    "id_destroy",
                                                    "metadata",
                                                    "metadata_stringA",
                                                    "metadata_stringW",
                                                    "relation",
                                                    "string_handle_createA",
                                                    "string_handle_createW",
                                                    "task_begin",
                                                    "task_end",
                                                    "task_group",
                                                    "region_begin",
                                                    "region_end",
                                                    "end_of_records"};

constexpr std::size_t longest_name = 255;

std::uint8_t name_length(std::size_t length) { return static_cast<std::uint8_t>(length); }

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

trace_encoder& trace_encoder::definition(std::uint8_t first, std::string_view text, std::uint8_t second,
                                         std::uint8_t third) {
  text = text.substr(0, longest_name);
  begin_record(kind_definition);
  add_byte(first);
  add_byte(name_length(text.size()));
  add_text(text);
  add_byte(second);
  add_byte(third);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::api_version(std::string_view text) {
  text = text.substr(0, longest_name);
  begin_record(kind_api_version);
  add_byte(name_length(text.size()));
  add_text(text);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::domain(std::uint64_t handle, std::string_view name) {
  name = name.substr(0, longest_name);
  begin_record(kind_domain);
  add_number(handle);
  add_byte(name_length(name.size()));
  add_text(name);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::wide_domain(std::uint64_t handle, std::u16string_view name) {
  name = name.substr(0, longest_name);
  begin_record(kind_wide_domain);
  add_number(handle);
  add_byte(name_length(name.size()));
  add_wide_text(name);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::id_create(std::uint64_t domain, const object_id& id) {
  begin_record(kind_id_create);
  add_number(domain);
  add_id(id);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::id_destroy(std::uint64_t domain, const object_id& id) {
  begin_record(kind_id_destroy);
  add_number(domain);
  add_id(id);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::metadata(std::uint64_t domain, const object_id& id, std::uint64_t key,
                                       value_type type, std::uint64_t count, std::uint64_t value) {
  begin_record(kind_metadata);
  add_number(domain);
  add_id(id);
  add_number(key);
  add_byte(static_cast<std::uint8_t>(type));
  add_number(count);
  if (count == 1) {
    if (form_ == trace_form::xml) {
      add_element("value", type == value_type::u32 ? static_cast<std::uint32_t>(value) : value);
    } else if (type == value_type::u64 || type == value_type::u32) {
      add_little_endian(value, type == value_type::u64 ? 8 : 4);
    }
  }
  end_record();
  return *this;
}

trace_encoder& trace_encoder::metadata_string(std::uint64_t domain, const object_id& id, std::uint64_t key,
                                              std::string_view value) {
  begin_record(kind_metadata_string);
  add_number(domain);
  add_id(id);
  add_number(key);
  add_number(value.size());
  add_text(value);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::wide_metadata_string(std::uint64_t domain, const object_id& id,
                                                   std::uint64_t key, std::u16string_view value) {
  begin_record(kind_wide_metadata_string);
  add_number(domain);
  add_id(id);
  add_number(key);
  add_number(value.size());
  add_wide_text(value);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::relation(std::uint64_t domain, const object_id& head, relation_code code,
                                       const object_id& tail) {
  begin_record(kind_relation);
  add_number(domain);
  add_id(head);
  add_byte(static_cast<std::uint8_t>(code));
  add_id(tail);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::string_handle(std::uint64_t handle, std::string_view text) {
  text = text.substr(0, longest_name);
  begin_record(kind_string_handle);
  add_number(handle);
  add_byte(name_length(text.size()));
  add_text(text);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::wide_string_handle(std::uint64_t handle, std::u16string_view text) {
  text = text.substr(0, longest_name);
  begin_record(kind_wide_string_handle);
  add_number(handle);
  add_byte(name_length(text.size()));
  add_wide_text(text);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::task_begin(std::uint64_t domain, const object_id& id, const object_id& parent,
                                         std::uint64_t name, std::uint64_t extra) {
  begin_record(kind_task_begin);
  add_number(domain);
  add_id(id);
  add_id(parent);
  add_number(name);
  add_number(extra);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::task_end(std::uint64_t domain) {
  begin_record(kind_task_end);
  add_number(domain);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::task_group(std::uint64_t domain, const object_id& id, const object_id& parent,
                                         std::uint64_t name) {
  begin_record(kind_task_group);
  add_number(domain);
  add_id(id);
  add_id(parent);
  add_number(name);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::region_begin(std::uint64_t domain, const object_id& id, const object_id& parent,
                                           std::uint64_t name) {
  begin_record(kind_region_begin);
  add_number(domain);
  add_id(id);
  add_id(parent);
  add_number(name);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::region_end(std::uint64_t domain, const object_id& id) {
  begin_record(kind_region_end);
  add_number(domain);
  add_id(id);
  end_record();
  return *this;
}

trace_encoder& trace_encoder::end() {
  begin_record(kind_end_of_records);
  end_record();
  return close_document();
}

trace_encoder& trace_encoder::close_document() {
  if (form_ == trace_form::xml) bytes_ += "</trace>\n";
  return *this;
}

std::string trace_encoder::take() { return std::exchange(bytes_, {}); }

void trace_encoder::begin_record(std::uint8_t kind) {
  if (form_ == trace_form::binary) {
    bytes_ += static_cast<char>(kind);
    add_little_endian(time_, 8);
  } else {
    bytes_ += "<record><kind>";
    bytes_ += kind_names[kind];
    bytes_ += "</kind>";
    add_element("time", time_);
  }
  ++time_;
}

void trace_encoder::end_record() {
  if (form_ == trace_form::xml) bytes_ += "</record>\n";
}

void trace_encoder::add_number(std::uint64_t value) {
  if (form_ == trace_form::binary) {
    add_little_endian(value, 8);
  } else {
    add_element("number", value);
  }
}

void trace_encoder::add_byte(std::uint8_t value) {
  if (form_ == trace_form::binary) {
    bytes_ += static_cast<char>(value);
  } else {
    add_element("number", value);
  }
}

void trace_encoder::add_id(const object_id& id) {
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

void trace_encoder::add_text(std::string_view text) {
  if (form_ == trace_form::binary) {
    bytes_ += text;
  } else {
    // Readers keep leading blanks in elements of this name, and of few others.
    bytes_ += "<text>";
    bytes_ += text;
    bytes_ += "</text>";
  }
}

void trace_encoder::add_wide_text(std::u16string_view text) {
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
