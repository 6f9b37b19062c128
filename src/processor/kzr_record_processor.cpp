#include "processor/kzr_record_processor.h"

#include "common/kzr_assert.h"
#include "model/kzr_data_manager.h"
#include "reader/trace_record.h"

kzr_record_processor::kzr_record_processor(kzr_data_manager& model, image_table& images, bool enable_subgraph)
    : model_(model), images_(images) {
  if (enable_subgraph) subgraphs_.emplace(model_, events_, pairing_);
}

void kzr_record_processor::process_record(const trace_record& record) {
  switch (record.kind) {
    case record_kind::definition:
    case record_kind::api_version:
    case record_kind::id_create:
    case record_kind::id_destroy:
    case record_kind::end_of_records:
      return;
    case record_kind::domain_create_a:
      return model_.register_domain(record.handle(),
                                    classify_domain(std::string_view(record.narrow_string())));
    case record_kind::domain_create_w:
      return model_.register_domain(record.handle(),
                                    classify_domain(std::wstring_view(record.wide_string())));
    case record_kind::metadata:
      return meta_data(record);
    case record_kind::metadata_string_a:
      return meta_data_string_A(record);
    case record_kind::metadata_string_w:
      return model_.warnings().count("Unexpected wide string meta data, ignored.");
    case record_kind::relation:
      return relation(record);
    case record_kind::string_handle_create_a:
      return model_.add_string_handle(record.handle(), record.narrow_string());
    case record_kind::string_handle_create_w:
      kzr_fail("Wide character strings not yet supported");
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
    case record_kind::bad_record:
      return model_.warnings().count(record.narrow_string());
  }
  kzr_fail("Unknown record type in trace file");
}

DomainType kzr_record_processor::domain_of(record_ref record) {
  return model_.domains().type_of(record.domain());
}

openmp_subgraphs* kzr_record_processor::subgraphs_for(DomainType domain) {
  return domain == DomainType::openmp && subgraphs_ ? &*subgraphs_ : nullptr;
}
