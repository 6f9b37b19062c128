#include "processor/kzr_record_processor.h"

void kzr_record_processor::meta_data(record_ref record) {
  const DomainType domain = domain_of(record);
  if (domain == DomainType::unknown || record.string == nullptr) return;
  if (!dm_.handles().is_code_address(record.key())) return;
  const ___onx_id& id = record.object();
  if (domain != DomainType::openmp) {
    if (auto* const node = dm_.find_sym_as<node_symbol>(id)) {
      node->set_code_location(images_.add_imageinfo(record.value(), "pwl::", record.timestamp()));
    }
    return;
  }
  if (auto* const region = dm_.find_sym_as<subgraph_node_symbol>(id)) {
    region->set_code_location(images_.add_imageinfo(record.value(), "omp::", record.timestamp()));
  } else if (dm_.find_sym_as<explicit_task_symbol>(id) != nullptr) {
    if (auto* const node = dm_.find_sym_as<node_symbol>({id.d1, 1, 0})) {
      node->set_code_location(images_.add_imageinfo(record.value(), "omt::", record.timestamp()));
    }
  }
}

void kzr_record_processor::meta_data_string_A(record_ref record) {
  if (domain_of(record) == DomainType::unknown) return;
  if (kzr_symbol* const symbol = dm_.find_sym(record.object())) {
    symbol->add_metadata(record.key(), 0, record.narrow_string());
    return;
  }
  // A text about no known object is a user event. Its text counts as one of a handle that no record names.
  dm_.add_nameless_text(record.narrow_string());
  events_.append({.kind = tml_event_t::user_event,
                  .time = record.timestamp(),
                  .producer = record.producer,
                  .text = record.narrow_string()});
}

void kzr_record_processor::meta_data_string_W(record_ref) {
  dm_.count_warning("Unexpected wide string meta data, ignored.");
}
