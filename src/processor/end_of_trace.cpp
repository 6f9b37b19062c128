#include <cstdlib>
#include <fstream>
#include <string_view>

#include "common/prefetch.h"
#include "graphml/graphml_file.h"
#include "processor/kzr_record_processor.h"

namespace {

/// `symbol` as a `T`, shared; empty when it is none.
template <class T>
std::shared_ptr<T> as(kzr_symbol* symbol) {
  T* const cast = symbol_cast<T>(symbol);
  return cast == nullptr ? nullptr : kzr_symbol::share(*cast);
}

/// The graph of a region: the one that its record named, else the one its node stands in now that inner
/// graphs are complete.
std::shared_ptr<graph_symbol> region_graph(const node_symbol* node, kzr_symbol* named) {
  if (named != nullptr || node == nullptr) return as<graph_symbol>(named);
  return node->graph_for_ports().shared_from_this();
}

}  // namespace

void kzr_record_processor::write_zup_output() {
  const char* const results = std::getenv("QZD_DIR");
  if (results == nullptr) return;
  std::ofstream file(std::string(results) + "/zup_result.csv", std::ios::out | std::ios::trunc);
  if (!file) {
    dm_.count_warning("Error opening file");
    return;
  }
  for (const auto& [key, image] : images_.images_by_offset()) file << key << ',' << image << std::endl;
}

void kzr_record_processor::dump_trace() {
  writer_.platform_creation(std::stoi(concurrency_));
  writer_.meta_head_creation(cores_.sorted(), threads_.sorted());
  const auto visit = [this](const timeline_event& event) { replay(event); };
  if (dm_.is_large()) {
    events_.for_each(visit, [this](const timeline_event& event, std::size_t steps) { expect(event, steps); });
  } else {
    events_.for_each(visit);
  }
}

void kzr_record_processor::expect(const timeline_event& event, std::size_t steps) const {
  if (event.first == 0) return;
  const kzr_symbol& symbol = dm_.symbols().get(event.first);
  if (event.kind != tml_event_t::edge_made) {
    if (steps == event_list::first_steps) prefetch(&symbol);
    return;
  }
  // Edges come in the order in which they lie in memory, but have their ends anywhere.
  const auto& edge = static_cast<const edge_symbol&>(symbol);
  if (steps == event_list::first_steps) {
    prefetch(&edge.first());
    prefetch(&edge.second());
  } else {
    prefetch(&edge.first().node());
    prefetch(&edge.second().node());
  }
}

std::string_view kzr_record_processor::domain_text_of(const timeline_event& event) {
  // Neighbouring events mostly share their domain, and domains do not change any more.
  if (event.domain != replayed_domain_ || replayed_domain_text_.empty()) {
    replayed_domain_ = event.domain;
    replayed_domain_text_ = domain_text(dm_.domain_type(event.domain));
  }
  return replayed_domain_text_;
}

void kzr_record_processor::replay(const timeline_event& event) {
  kzr_symbol* const first = dm_.symbols().find(event.first);
  kzr_symbol* const second = dm_.symbols().find(event.second);
  switch (event.kind) {
    case tml_event_t::graph_created:
      return writer_.graph_creation(event.time, event.producer, as<graph_symbol>(first));
    case tml_event_t::node_created:
      return writer_.node_creation(event.time, event.first_number, event.producer, as<node_symbol>(first));
    case tml_event_t::edge_made:
      return writer_.make_edge(event.time, event.producer, as<edge_symbol>(first));
    case tml_event_t::edge_removed:
      return writer_.remove_edge(event.time, event.producer, as<edge_symbol>(first));
    case tml_event_t::task_begun:
      return replay_task_begin(event);
    case tml_event_t::implicit_task_begun:
      return replay_implicit_task_begin(event);
    case tml_event_t::explicit_task_begun:
      return writer_.explicit_task_begin(event.time, event.producer, as<node_symbol>(first),
                                         as<graph_symbol>(second), event.first_number, event.second_number,
                                         domain_text_of(event));
    case tml_event_t::task_ended:
      return writer_.task_end(event.time, event.producer);
    case tml_event_t::region_begun: {
      const auto node = as<node_symbol>(first);
      const auto graph = region_graph(node.get(), second);
      if (node && graph) graph->increment_region(*node);
      return writer_.region_begin(event.time, event.producer, node, graph);
    }
    case tml_event_t::region_ended:
      return writer_.region_end(event.time, event.producer, as<node_symbol>(first),
                                region_graph(as<node_symbol>(first).get(), second));
    case tml_event_t::user_event:
      return writer_.user_event(event.time, event.producer, event.text);
  }
}

void kzr_record_processor::replay_task_begin(const timeline_event& event) {
  kzr_symbol* const task = dm_.symbols().find(event.first);
  const std::string_view domain = domain_text_of(event);
  if (const auto region = as<parallel_region_symbol>(task)) {
    return writer_.parallel_region_begin(event.time, event.producer, region, event.first_number,
                                         event.second_number, domain);
  }
  auto region = as<parallel_region_symbol>(dm_.symbols().find(event.second));
  if (!region) {
    const auto* const implicit = symbol_cast<implicit_task_symbol>(task);
    if (implicit != nullptr && implicit->region() != nullptr) region = implicit->region()->shared_from_this();
  }
  if (region) {
    return writer_.parallel_task_begin(event.time, event.producer, region, event.first_number,
                                       event.second_number, domain);
  }
  writer_.task_begin(event.time, event.producer, dm_.symbols().at(event.first), event.first_number,
                     event.second_number, domain);
}

void kzr_record_processor::replay_implicit_task_begin(const timeline_event& event) {
  if (enable_subgraph == 0) return;
  kzr_symbol* const first = dm_.symbols().find(event.first);
  const std::string_view domain = domain_text_of(event);
  const std::string_view name = dm_.handle_text(event.first_number);
  // The text decides: a handle may have stood for a parallel region before it got the text it has now.
  const bool is_implicit = name == "omp_implicit" || name == "omp_barrier";
  if (!is_implicit && dm_.handles().is_parallel_region(event.first_number)) {
    return writer_.omp_parallel_region_begin(event.time, event.producer, as<node_symbol>(first),
                                             as<graph_symbol>(dm_.symbols().find(event.second)),
                                             event.first_number, event.second_number, domain);
  }
  writer_.implicit_task_begin(event.time, event.producer, as<graph_symbol>(first), event.first_number,
                              event.second_number, domain);
}
