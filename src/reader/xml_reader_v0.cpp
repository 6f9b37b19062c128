#include "reader/xml_reader_v0.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <ranges>
#include <string_view>
#include <utility>

#include "common/kzr_assert.h"

namespace {

constexpr const char* incomplete_record = "incomplete record";
constexpr const char* unknown_record = "unknown record";
constexpr const char* no_trace_tag = "XML trace file does not have trace tag";
// The missing verb is part of the message as users know it.
constexpr const char* no_header_attributes =
    "XML trace tag does not ts_frequency or hardware_concurrency attributes";

// Positions of the child elements in a record.
constexpr std::size_t first_field_part = 2;
constexpr std::size_t value_type_part = 5;
constexpr std::size_t value_count_part = 6;
constexpr std::size_t value_part = 7;

bool is_empty(const char* text) { return *text == '\0'; }

/// The kind with exactly that name; that of a bad record when there is none.
record_kind find_kind(std::string_view name) {
  const auto found = std::ranges::find_if(
      record_descriptions, [name](const record_description& described) { return described.name == name; });
  return static_cast<record_kind>(found - record_descriptions.begin());
}

/// What `strtoull` makes of the text. Nearly all texts are plain digits, which need not go through it.
std::uint64_t to_number(const char* text) {
  constexpr std::ptrdiff_t most_digits = 19;  // so many always fit
  std::uint64_t number = 0;
  const char* end = text;
  for (; *end >= '0' && *end <= '9' && end - text <= most_digits; ++end) {
    number = number * 10 + static_cast<std::uint64_t>(*end - '0');
  }
  return end != text && end - text <= most_digits ? number : std::strtoull(text, nullptr, 10);
}

/// What reading an unsigned 32-bit number from a stream gives: 0 for no number, the largest for one too
/// large, and a small negative one wraps around.
std::uint32_t to_number_32(const char* text) {
  constexpr std::uint64_t largest = std::numeric_limits<std::uint32_t>::max();
  const std::uint64_t number = to_number(text);
  const bool is_negative = text[std::strspn(text, " \t\n\v\f\r")] == '-';
  const std::uint64_t magnitude = is_negative ? 0 - number : number;
  if (magnitude > largest) return largest;
  return static_cast<std::uint32_t>(number);
}

}  // namespace

xml_reader_v0::xml_reader_v0(std::int32_t producer, std::unique_ptr<xml::document> document,
                             const std::string& frequency, const std::string& concurrency, text_arena& texts)
    : trace_reader(producer, texts),
      document_(std::move(document)),
      records_(document_->elems("record")),
      frequency_(frequency),
      concurrency_(concurrency) {
  done_ = false;
  has_current_ = true;
  if (records_.empty()) {
    current_.reset(producer_);
    make_bad_record(current_, incomplete_record);
  } else {
    make_record();
  }
}

bool xml_reader_v0::current_and_advance(trace_record& record) {
  if (!has_current_) return false;
  record = current_;
  if (record.kind == record_kind::bad_record) return true;
  if (text_ != nullptr) record.string = keep_text();
  if (value_) record.string = keep_value(*value_);
  next_record();
  return true;
}

void xml_reader_v0::next_record() {
  if (++cursor_ < records_.size()) {
    make_record();
    return;
  }
  has_current_ = false;
  records_ = {};
  document_.reset();
}

void xml_reader_v0::make_record() {
  current_.reset(producer_);
  timestamp_ = 0;
  text_ = nullptr;
  value_.reset();
  parts_.clear();
  for (const xml::element* e = records_[cursor_]->first_child(); e != nullptr && parts_.size() <= value_part;
       e = e->next_sibling()) {
    parts_.push_back(e);
  }
  if (parts_.size() < first_field_part || is_empty(parts_[0]->text())) {
    return make_bad_record(current_, incomplete_record);
  }
  current_.kind = find_kind(parts_[0]->text());
  current_.f[0] = static_cast<std::uint64_t>(current_.kind);
  if (!is_described(current_.kind)) return make_bad_record(current_, unknown_record);
  if (is_empty(parts_[1]->text())) return make_bad_record(current_, incomplete_record);
  timestamp_ = to_number(parts_[1]->text());
  current_.f[1] = timestamp_;
  if (!read_fields()) return make_bad_record(current_, incomplete_record);
  if (current_.kind == record_kind::metadata) read_metadata_value();
}

bool xml_reader_v0::read_fields() {
  std::size_t position = 0;
  ___onx_id* id = current_.id.data();
  for (const record_field& described : describe(current_.kind).fields) {
    if (described.code == field_code::end) return true;
    const std::size_t part = first_field_part + position;
    if (part >= parts_.size()) return false;
    const xml::element& field = *parts_[part];
    const char* const text = field.text();
    switch (described.code) {
      case field_code::number:
      case field_code::byte:  // not narrowed: the form has no widths
        if (is_empty(text)) return false;
        current_.f[position + 2] = to_number(text);
        break;
      case field_code::id:
        if (!read_id(field, *id++)) return false;
        break;
      case field_code::wide_string:
        if (is_empty(text)) return false;
        text_ = text;
        break;
      default:
        text_ = text;
        break;
    }
    ++position;
  }
  return true;
}

const void* xml_reader_v0::keep_text() {
  const auto& fields = describe(current_.kind).fields;
  const bool is_wide = std::ranges::any_of(
      fields, [](const record_field& field) { return field.code == field_code::wide_string; });
  return is_wide ? widen(text_) : texts_.copy(text_);
}

bool xml_reader_v0::read_id(const xml::element& field, ___onx_id& id) const {
  std::array<std::uint64_t, 3> words{};
  const xml::element* e = field.first_child();
  for (std::uint64_t& word : words) {
    if (e == nullptr || is_empty(e->text())) return false;
    word = to_number(e->text());
    e = e->next_sibling();
  }
  if (e != nullptr) return false;
  id = {words[0], words[1], words[2]};
  return true;
}

const void* xml_reader_v0::widen(const char* text) {
  const std::size_t size = std::strlen(text);
  auto* const wide =
      reinterpret_cast<wchar_t*>(texts_.allocate((size + 1) * sizeof(wchar_t), alignof(wchar_t)));
  // Bytes above 0x7F become negative values, as from the signed characters that the rest of the program sees.
  std::transform(text, text + size + 1, wide, [](char c) { return wchar_t{static_cast<signed char>(c)}; });
  return wide;
}

void xml_reader_v0::read_metadata_value() {
  if (std::strcmp(parts_[value_count_part]->text(), "1") != 0) return;
  // A missing value and a type that is no number end the program by the exceptions of at() and stoi().
  const char* const text = parts_.at(value_part)->text();
  const int type = std::stoi(parts_[value_type_part]->text());
  if (type == 1) value_ = to_number(text);
  if (type == 3) value_ = to_number_32(text);
}

std::unique_ptr<trace_reader> open_xml_trace(const std::string& file_name, std::int32_t producer,
                                             text_arena& texts) {
  auto document = std::make_unique<xml::document>(file_name.c_str());
  document->parse();  // what was understood of a damaged file counts
  const xml::element* const root = document->root();
  if (root == nullptr || std::strcmp(root->name(), "trace") != 0) kzr_fail(no_trace_tag);
  const char* const version = root->get_attribute("version");
  if (is_empty(version)) return nullptr;
  if (static_cast<int>(std::strtol(version, nullptr, 10)) != 0) {
    return std::make_unique<trace_reader>(producer, texts);
  }
  const std::string frequency = root->get_attribute("ts_frequency");
  const std::string concurrency = root->get_attribute("hardware_concurrency");
  KZR_ASSERT(!frequency.empty() && !concurrency.empty(), no_header_attributes);
  return std::make_unique<xml_reader_v0>(producer, std::move(document), frequency, concurrency, texts);
}
