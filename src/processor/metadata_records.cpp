#include "model/explicit_task_symbol.h"
#include "model/kzr_data_manager.h"
#include "processor/image_table.h"
#include "processor/kzr_record_processor.h"
#include "reader/trace_record.h"

kzr_record_processor::code_owner kzr_record_processor::find_code_owner(record_ref record) {
  const DomainType domain = domain_of(record);
  if (domain == DomainType::unknown || record.string == nullptr) return {};
  if (!model_.handles().is_code_address(record.key())) return {};
  const ___onx_id& id = record.object();
  if (domain != DomainType::openmp) return {model_.get_sym_as<node_symbol>(id), "pwl::"};
  if (auto* const region = model_.get_sym_as<subgraph_node_symbol>(id)) return {region, "omp::"};
  if (model_.get_sym_as<explicit_task_symbol>(id) == nullptr) return {};
  return {model_.get_sym_as<node_symbol>({id.d1, 1, 0}), "omt::"};
}

void kzr_record_processor::meta_data(record_ref record) {
  const auto [node, prefix] = find_code_owner(record);
  if (node == nullptr) return;
  model_.set_code_location(*node, images_.add_imageinfo(record.value(), prefix, record.timestamp()));
}

void kzr_record_processor::meta_data_string_A(record_ref record) {
  if (domain_of(record) == DomainType::unknown) return;
  if (kzr_symbol* const symbol = model_.get_sym(record.object())) {
    model_.add_metadata(*symbol, record.key(), record.narrow_string());
    return;
  }
  // A text about no known object is a user event. Its text counts as one of a handle that no record names.
  model_.add_nameless_text(record.narrow_string());
  events_.append_text(record);
}
