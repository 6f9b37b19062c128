#include "model/kzr_data_manager.h"
#include "processor/kzr_record_processor.h"
#include "reader/trace_record.h"

void kzr_record_processor::region_begin(record_ref record) {
  if (domain_of(record) == DomainType::unknown) return;
  events_.note_thread(record);
  const open_region place{model_.get_sym_as<node_symbol>(record.object()),
                          model_.get_sym_as<graph_symbol>(record.parent())};
  open_regions_[record.object()].push_back(place);
  events_.append(tml_event_t::region_begun, record, place.node, place.graph);
}

void kzr_record_processor::region_end(record_ref record) {
  if (domain_of(record) == DomainType::unknown) return;
  events_.note_thread(record);
  open_region place;
  const auto open = open_regions_.find(record.object());
  if (open != open_regions_.end()) {
    place = open->second.back();
    open->second.pop_back();
    if (open->second.empty()) open_regions_.erase(open);
  } else {
    place.node = model_.get_sym_as<node_symbol>(record.object());
  }
  events_.append(tml_event_t::region_ended, record, place.node, place.graph);
}
