#include "reader/xml_reader_v0.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "common/kzr_assert.h"
#include "reader/record_descriptions.h"

namespace {

constexpr const char* incomplete_record = "incomplete record";
constexpr const char* unknown_record = "unknown record";
constexpr const char* no_trace_tag = "XML trace file does not have trace tag";
// The missing verb is part of the message as users know it.
constexpr const char* no_header_attributes =
    "XML trace tag does not ts_frequency or hardware_concurrency attributes";

constexpr std::int32_t metadata_kind = 6;
// Places of the child elements in a record.
constexpr std::size_t first_field = 2;
constexpr std::size_t value_type = 5;
constexpr std::size_t value_count = 6;
constexpr std::size_t value = 7;

bool is_empty(const char* text) { return *text == '\0'; }

/// The kind with exactly that name; that of a bad record when there is none.
std::int32_t find_kind(std::string_view name) {
  static const auto names = [] {
    std::array<std::string_view, record_descriptions.size()> all;
    std::transform(record_descriptions.begin(), record_descriptions.end(), all.begin(),
                   [](const record_description& d) { return std::string_view(d.name); });
    return all;
  }();
  return static_cast<std::int32_t>(std::find(names.begin(), names.end(), name) - names.begin());
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

xml_reader_v0::xml_reader_v0(const std::string& file_name, int producer,
                             std::unique_ptr<xml::document> document, const std::string& frequency,
                             const std::string& concurrency, record_store& store)
    : trace_reader(producer, store),
      file_name_(file_name),
      document_(std::move(document)),
      records_(document_->elems("record")),
      frequency_(frequency),
      concurrency_(concurrency) {
  done_ = false;
  has_current_ = true;
  if (records_.empty()) {
    current_ = start_record();
    make_bad(incomplete_record);
  } else {
    make_record();
  }
}

std::shared_ptr<trace_record> xml_reader_v0::current_and_advance() {
  std::shared_ptr<trace_record> record = current_;
  if (record && record->kind != trace_record::bad_record) next_record();
  return record;
}

void xml_reader_v0::next_record() {
  if (++cursor_ < records_.size()) {
    make_record();
    return;
  }
  has_current_ = false;
  current_.reset();
  records_ = {};
  document_.reset();
}

void xml_reader_v0::make_record() {
  current_ = start_record();
  timestamp_ = 0;
  parts_.clear();
  for (const xml::element* e = records_[cursor_]->first_child(); e != nullptr && parts_.size() <= value;
       e = e->next_sibling()) {
    parts_.push_back(e);
  }
  if (parts_.size() < first_field || is_empty(parts_[0]->text())) {
    make_bad(incomplete_record);
    return;
  }
  current_->kind = find_kind(parts_[0]->text());
  current_->f[0] = static_cast<std::uint64_t>(current_->kind);
  if (current_->kind == trace_record::bad_record) {
    make_bad(unknown_record);
    return;
  }
  if (is_empty(parts_[1]->text())) {
    make_bad(incomplete_record);
    return;
  }
  timestamp_ = to_number(parts_[1]->text());
  current_->f[1] = timestamp_;
  if (!read_fields()) {
    make_bad(incomplete_record);
    return;
  }
  if (current_->kind == metadata_kind) read_metadata_value();
}

bool xml_reader_v0::read_fields() {
  trace_record& record = *current_;
  const auto& codes = record_descriptions[static_cast<std::size_t>(record.kind)].fields;
  std::size_t k = 0;
  for (std::size_t p = 0; p < codes.size() && codes[p] != field_code::end; ++p) {
    if (p + first_field >= parts_.size()) return false;
    const xml::element& field = *parts_[p + first_field];
    const char* const text = field.text();
    switch (codes[p]) {
      case field_code::number:
      case field_code::byte:  // not narrowed: the form has no widths
        if (is_empty(text)) return false;
        record.f[p + 2] = to_number(text);
        break;
      case field_code::id:
        if (!read_id(field, record.id[k++])) return false;
        break;
      case field_code::narrow_string:
        record.string = store_.texts().copy(text);
        break;
      case field_code::wide_string:
        if (is_empty(text)) return false;
        record.string = widen(text);
        break;
      default:
        return false;
    }
  }
  return true;
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
      reinterpret_cast<wchar_t*>(store_.texts().allocate((size + 1) * sizeof(wchar_t), alignof(wchar_t)));
  // Bytes above 0x7F become negative values, as from the signed characters that the rest of the program sees.
  std::transform(text, text + size + 1, wide, [](char c) { return wchar_t{static_cast<signed char>(c)}; });
  return wide;
}

void xml_reader_v0::read_metadata_value() {
  if (std::strcmp(parts_[value_count]->text(), "1") != 0) return;
  // A missing value and a type that is no number end the program by the exceptions of at() and stoi().
  const char* const text = parts_.at(value)->text();
  const int type = std::stoi(parts_[value_type]->text());
  if (type != 1 && type != 3) return;
  const std::uint64_t number = type == 1 ? to_number(text) : to_number_32(text);
  current_->string = keep_value(number);
}

std::shared_ptr<trace_reader> open_xml_trace(const std::string& file_name, int producer,
                                             record_store& store) {
  auto document = std::make_unique<xml::document>(file_name.c_str());
  document->parse();  // what was understood of a damaged file counts
  const xml::element* const root = document->root();
  if (root == nullptr || std::strcmp(root->name(), "trace") != 0) kzr_fail(no_trace_tag);
  const char* const version = root->get_attribute("version");
  if (is_empty(version)) return nullptr;
  if (static_cast<int>(std::strtol(version, nullptr, 10)) != 0) {
    return std::make_shared<trace_reader>(producer, store);
  }
  const std::string frequency = root->get_attribute("ts_frequency");
  const std::string concurrency = root->get_attribute("hardware_concurrency");
  KZR_ASSERT(!frequency.empty() && !concurrency.empty(), no_header_attributes);
  return std::make_shared<xml_reader_v0>(file_name, producer, std::move(document), frequency, concurrency,
                                         store);
}
