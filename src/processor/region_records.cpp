#include "processor/kzr_record_processor.h"

void kzr_record_processor::region_begin(record_ref record) {
  if (domain_of(record) == DomainType::unknown) return;
  update_thread_and_core_set(record, false);
  const region_place place{dm_.find_sym_as<node_symbol>(record.object()),
                           dm_.find_sym_as<graph_symbol>(record.parent())};
  open_regions_[record.object()].push_back(place);
  append_event(tml_event_t::region_begun, record, place.first, place.second);
}

void kzr_record_processor::region_end(record_ref record) {
  if (domain_of(record) == DomainType::unknown) return;
  update_thread_and_core_set(record, false);
  region_place place;
  const auto open = open_regions_.find(record.object());
  if (open != open_regions_.end()) {
    place = open->second.back();
    open->second.pop_back();
    if (open->second.empty()) open_regions_.erase(open);
  } else {
    place.first = dm_.find_sym_as<node_symbol>(record.object());
  }
  append_event(tml_event_t::region_ended, record, place.first, place.second);
}
