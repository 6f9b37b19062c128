#include "processor/kzr_record_processor.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <fstream>

#include "common/kzr_assert.h"

kzr_record_processor::kzr_record_processor(const std::string& name, const std::string& frequency,
                                           const std::string& concurrency, const int& subgraph_flag,
                                           run_outputs outputs)
    : dm_(name, frequency, concurrency, outputs),
      writer_(dm_, name + ".traceml", frequency, concurrency),
      concurrency_(concurrency) {
  enable_subgraph = subgraph_flag;
  if (const char* const results = std::getenv("QZD_DIR")) {
    std::ifstream list(std::string(results) + "/imageload.csv");
    images_.read(list);
  }
}

void kzr_record_processor::process_record(const trace_record& record) {
  switch (record.kind) {
    case record_kind::definition:
    case record_kind::api_version:
    case record_kind::id_create:
    case record_kind::id_destroy:
      return;
    case record_kind::domain_create_a:
      return domain_create_A(record);
    case record_kind::domain_create_w:
      return domain_create_W(record);
    case record_kind::metadata:
      return meta_data(record);
    case record_kind::metadata_string_a:
      return meta_data_string_A(record);
    case record_kind::metadata_string_w:
      return meta_data_string_W(record);
    case record_kind::relation:
      return relation(record);
    case record_kind::string_handle_create_a:
      return string_handle_create_A(record);
    case record_kind::string_handle_create_w:
      return string_handle_create_W(record);
    case record_kind::task_begin:
      return task_begin(record);
    case record_kind::task_end:
      return task_end(record);
    case record_kind::task_group:
      return task_group(record);
    case record_kind::region_begin:
      return region_begin(record);
    case record_kind::region_end:
      return region_end(record);
    case record_kind::end_of_records:
      return write_zup_output();
    case record_kind::bad_record:
      return bad_record(record);
  }
  kzr_fail("Unknown record type in trace file");
}

namespace {

/// A copy of `text` in an array, as the registration of domains takes it over.
template <class Char>
const Char* copy_name(const Char* text, std::size_t length) {
  auto* const copy = new Char[length + 1];
  std::copy_n(text, length + 1, copy);
  return copy;
}

}  // namespace

void kzr_record_processor::domain_create_A(record_ref record) {
  const char* const name = record.narrow_string();
  dm_.register_domain(record.handle(), copy_name(name, std::strlen(name)));
}

void kzr_record_processor::domain_create_W(record_ref record) {
  const wchar_t* const name = record.wide_string();
  dm_.register_domain(record.handle(), copy_name(name, std::wcslen(name)));
}

void kzr_record_processor::string_handle_create_A(record_ref record) {
  dm_.add_string_handle(record.handle(), 0, record.narrow_string());
}

void kzr_record_processor::string_handle_create_W(record_ref) {
  kzr_fail("Wide character strings not yet supported");
}

void kzr_record_processor::bad_record(record_ref record) { dm_.count_warning(record.narrow_string()); }

void kzr_record_processor::update_thread_and_core_set(record_ref record, bool with_core) {
  if (with_core) cores_.insert(static_cast<long>(record.processor()));
  threads_.insert(record.producer);
}

void kzr_record_processor::append_event(tml_event_t kind, record_ref record, const kzr_symbol* first,
                                        const kzr_symbol* second, std::uint64_t first_number,
                                        std::uint64_t second_number) {
  events_.append({.kind = kind,
                  .time = record.timestamp(),
                  .producer = record.producer,
                  .domain = record.domain(),
                  .first = symbol_list::position_of(first),
                  .second = symbol_list::position_of(second),
                  .first_number = first_number,
                  .second_number = second_number});
}
