#include "processor/event_collector.h"

#include "model/edge_symbol.h"
#include "model/kzr_symbol.h"
#include "reader/trace_record.h"

namespace {
std::uint32_t position_of(const kzr_symbol* symbol) { return symbol == nullptr ? 0 : symbol->position(); }
}  // namespace

void event_collector::append(tml_event_t kind, const trace_record& record) {
  events_.append({.kind = kind, .time = record.timestamp(), .producer = record.producer});
}

void event_collector::append(tml_event_t kind, const trace_record& record, const kzr_symbol* first,
                             const kzr_symbol* second) {
  events_.append({.kind = kind,
                  .time = record.timestamp(),
                  .producer = record.producer,
                  .first = position_of(first),
                  .second = position_of(second)});
}

void event_collector::append_node(const trace_record& record, const kzr_symbol& node, std::uint64_t name) {
  events_.append({.kind = tml_event_t::node_created,
                  .time = record.timestamp(),
                  .producer = record.producer,
                  .first = node.position(),
                  .name = name});
}

void event_collector::append_edge(tml_event_t kind, const trace_record& record, const edge_symbol* edge) {
  events_.append({.kind = kind,
                  .time = record.timestamp(),
                  .producer = record.producer,
                  .edge = edge == nullptr ? 0 : edge->number() + 1});
}

void event_collector::append_begin(tml_event_t kind, const trace_record& record, std::uint32_t domain,
                                   const kzr_symbol* first, const kzr_symbol* second) {
  events_.append({.kind = kind,
                  .time = record.timestamp(),
                  .producer = record.producer,
                  .first = position_of(first),
                  .second = position_of(second),
                  .domain = domain,
                  .name = record.name(),
                  .processor = record.processor()});
}

void event_collector::append_text(const trace_record& record) {
  events_.append({.kind = tml_event_t::user_event,
                  .time = record.timestamp(),
                  .producer = record.producer,
                  .text = record.narrow_string()});
}

void event_collector::note_thread(const trace_record& record) { threads_.insert(record.producer); }

void event_collector::note_core(const trace_record& record) {
  cores_.insert(static_cast<std::int64_t>(record.processor()));
}
