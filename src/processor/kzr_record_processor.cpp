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

void kzr_record_processor::process_record(std::shared_ptr<trace_record> record) {
  switch (static_cast<std::uint32_t>(record->kind)) {
    case 0:  // definition
    case 1:  // api_version
    case 4:  // id_create
    case 5:  // id_destroy
      return;
    case 2:
      return domain_create_A(*record);
    case 3:
      return domain_create_W(*record);
    case 6:
      return meta_data(*record);
    case 7:
      return meta_data_string_A(*record);
    case 8:
      return meta_data_string_W(*record);
    case 9:
      return relation(*record);
    case 10:
      return string_handle_create_A(*record);
    case 11:
      return string_handle_create_W(*record);
    case 12:
      return task_begin(*record);
    case 13:
      return task_end(*record);
    case 14:
      return task_group(*record);
    case 15:
      return region_begin(*record);
    case 16:
      return region_end(*record);
    case trace_record::end_of_records:
      return write_zup_output();
    case trace_record::bad_record:
      return bad_record(*record);
    default:
      kzr_fail("Unknown record type in trace file");
  }
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
  dm_.register_domain(record.f[2], copy_name(name, std::strlen(name)));
}

void kzr_record_processor::domain_create_W(record_ref record) {
  const wchar_t* const name = record.wide_string();
  dm_.register_domain(record.f[2], copy_name(name, std::wcslen(name)));
}

void kzr_record_processor::string_handle_create_A(record_ref record) {
  dm_.add_string_handle(record.f[2], static_cast<unsigned char>(record.f[3]), record.narrow_string());
}

void kzr_record_processor::string_handle_create_W(record_ref) {
  kzr_fail("Wide character strings not yet supported");
}

void kzr_record_processor::bad_record(record_ref record) { dm_.count_warning(record.narrow_string()); }

void kzr_record_processor::update_thread_and_core_set(record_ref record, bool with_core) {
  if (with_core) cores_.insert(static_cast<long>(record.f[6]));
  threads_.insert(record.producer);
}

void kzr_record_processor::append_event(tml_event_t kind, record_ref record, const kzr_symbol* first,
                                        const kzr_symbol* second, std::uint64_t first_number,
                                        std::uint64_t second_number) {
  events_.append({.kind = kind,
                  .time = record.f[1],
                  .producer = record.producer,
                  .domain = record.f[2],
                  .first = symbol_list::position_of(first),
                  .second = symbol_list::position_of(second),
                  .first_number = first_number,
                  .second_number = second_number});
}
