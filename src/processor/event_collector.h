#pragma once

#include <cstdint>

#include "processor/event_list.h"
#include "processor/number_set.h"

class edge_symbol;
class kzr_symbol;
class trace_record;

/// Collects what the timeline shows of a run: its events, and which threads and processors it has.
class event_collector {
 public:
  /// Appends an event without symbols, texts or numbers.
  void append(tml_event_t kind, const trace_record& record);
  /// Appends an event about `first`, in its graph or of its parent `second`; either may be null.
  void append(tml_event_t kind, const trace_record& record, const kzr_symbol* first,
              const kzr_symbol* second);
  /// Appends an event about a node that is of the kind `name` now.
  void append_node(const trace_record& record, const kzr_symbol& node, std::uint64_t name);
  /// Appends an event about an edge, which may be null.
  void append_edge(tml_event_t kind, const trace_record& record, const edge_symbol* edge);
  /// Appends the begin of a task, in the domain with that index.
  void append_begin(tml_event_t kind, const trace_record& record, std::uint32_t domain,
                    const kzr_symbol* first, const kzr_symbol* second);
  /// Appends the text of the record as a user event.
  void append_text(const trace_record& record);

  /// Notes the thread of the record as one that the timeline shows.
  void note_thread(const trace_record& record);
  /// Notes the processor of a task's begin.
  void note_core(const trace_record& record);

  [[nodiscard]] const event_list& events() const { return events_; }
  /// Numbers of trace files and of processors.
  [[nodiscard]] std::set<std::int64_t> threads() const { return threads_.sorted(); }
  [[nodiscard]] std::set<std::int64_t> cores() const { return cores_.sorted(); }

 private:
  event_list events_;
  number_set threads_;
  number_set cores_;
};
