#pragma once

#include <cstdint>
#include <string_view>

#include "common/look_ahead.h"
#include "model/edge_prefetch.h"
#include "model/implicit_task_symbol.h"
#include "model/kzr_data_manager.h"
#include "model/parallel_region_symbol.h"
#include "processor/event_list.h"

namespace timeline_replay_detail {

/// Turns one event after the other into a call of the consumer.
template <class Consumer>
class timeline_replay {
 public:
  timeline_replay(const kzr_data_manager& model, Consumer& consumer) : model_(model), consumer_(consumer) {}

  void replay(const timeline_event& event) {
    const auto& [kind, time, producer, first, second, edge, domain, name, processor, text] = event;
    switch (kind) {
      case tml_event_t::graph_created:
        return consumer_.graph_creation(time, producer, find<graph_symbol>(first));
      case tml_event_t::node_created:
        return consumer_.node_creation(time, name, producer, *find<node_symbol>(first));
      case tml_event_t::edge_made:
        return consumer_.make_edge(time, producer, model_.edges().get(edge - 1));
      case tml_event_t::edge_removed:
        return consumer_.remove_edge(time, producer, edge == 0 ? nullptr : &model_.edges().get(edge - 1));
      case tml_event_t::task_begun:
        return begin_task(event);
      case tml_event_t::implicit_task_begun:
        return begin_implicit_task(event);
      case tml_event_t::explicit_task_begun:
        return consumer_.explicit_task_begin(time, producer, find<node_symbol>(first),
                                             find<graph_symbol>(second), processor, domain_text_of(event));
      case tml_event_t::task_ended:
        return consumer_.task_end(time, producer);
      case tml_event_t::region_begun:
        return consumer_.region_begin(time, producer, find<node_symbol>(first), graph_of_region(event));
      case tml_event_t::region_ended:
        return consumer_.region_end(time, producer, find<node_symbol>(first), graph_of_region(event));
      case tml_event_t::user_event:
        return consumer_.user_event(time, producer, text);
    }
  }

 private:
  /// The symbol at `position` as a `T`, null when it is none.
  template <class T>
  [[nodiscard]] T* find(std::uint32_t position) const {
    return symbol_cast<T>(model_.symbols().at(position));
  }

  [[nodiscard]] std::string_view domain_text_of(const timeline_event& event) const {
    return domain_text(model_.domains().type_at(event.domain));
  }

  /// The graph that the region's record named, else the one its node stands in now that inner graphs are
  /// complete.
  [[nodiscard]] const graph_symbol* graph_of_region(const timeline_event& event) const {
    const auto* const node = find<node_symbol>(event.first);
    if (event.second != 0 || node == nullptr) return find<graph_symbol>(event.second);
    return &node->graph_for_ports();
  }

  void begin_task(const timeline_event& event) {
    const std::string_view domain = domain_text_of(event);
    kzr_symbol* const task = model_.symbols().at(event.first);
    if (const auto* const region = symbol_cast<parallel_region_symbol>(task)) {
      return consumer_.parallel_region_begin(event.time, event.producer, *region, event.processor, domain);
    }
    const parallel_region_symbol* region = find<parallel_region_symbol>(event.second);
    if (region == nullptr) {
      const auto* const implicit = symbol_cast<implicit_task_symbol>(task);
      if (implicit != nullptr) region = implicit->region();
    }
    if (region != nullptr) {
      return consumer_.parallel_task_begin(event.time, event.producer, *region, event.processor, domain);
    }
    consumer_.task_begin(event.time, event.producer, task, event.name, event.processor, domain);
  }

  void begin_implicit_task(const timeline_event& event) {
    // An implicit task or barrier has two such events, one behind the other and without a graph.
    is_outer_ = event.second == 0 && !is_outer_;
    const std::string_view domain = domain_text_of(event);
    const std::string_view name = model_.handles().text(event.name);
    // The text decides: a handle may have stood for a parallel region before it got the text it has now.
    const bool is_implicit = name == "omp_implicit" || name == "omp_barrier";
    if (!is_implicit && model_.handles().is_parallel_region(event.name)) {
      return consumer_.omp_parallel_region_begin(event.time, event.producer, find<node_symbol>(event.first),
                                                 find<graph_symbol>(event.second), event.processor, domain);
    }
    const auto* const graph = find<graph_symbol>(event.first);
    if (is_outer_) {
      consumer_.outer_implicit_task_begin(event.time, event.producer, graph, event.name, event.processor,
                                          domain);
    } else {
      consumer_.implicit_task_begin(event.time, event.producer, graph, event.name, event.processor, domain);
    }
  }

  const kzr_data_manager& model_;
  Consumer& consumer_;
  bool is_outer_ = false;  ///< the implicit begin at hand is the first one of two
};

inline void prefetch_ends(const look_ahead<timeline_event, steps_to_ports>& events,
                          const kzr_data_manager& model) {
  const auto edge_of = [&model](const timeline_event* event) {
    return event == nullptr || event->edge == 0 ? nullptr : &model.edges().get(event->edge - 1);
  };
  if (const auto* const edge = edge_of(events.upcoming(steps_to_ports))) prefetch_ports(*edge);
  if (const auto* const edge = edge_of(events.upcoming(steps_to_nodes))) prefetch_nodes(*edge);
}

}  // namespace timeline_replay_detail

/// Hands the events of a run, in their order, to a consumer with the operations of `kzr_traceml_writer` for
/// single events. The model must be complete.
template <class Consumer>
void replay_events(const event_list& events, const kzr_data_manager& model, Consumer& consumer) {
  timeline_replay_detail::timeline_replay timeline(model, consumer);
  event_list::reader reader(events);
  if (!model.is_large()) {
    timeline_event event;
    while (reader.next(event)) timeline.replay(event);
    return;
  }
  look_ahead<timeline_event, steps_to_ports> upcoming;
  const auto read = [&reader](timeline_event& event) { return reader.next(event); };
  while (const timeline_event* const event = upcoming.next(read)) {
    timeline_replay_detail::prefetch_ends(upcoming, model);
    timeline.replay(*event);
  }
}
