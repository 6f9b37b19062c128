#include "kzr/dump/summary_json.h"

#include <nlohmann/json.hpp>
#include <ostream>

#include "kzr/dump/problems.h"
#include "kzr/dump/run_summary.h"
#include "reader/record_descriptions.h"

namespace {

using json = nlohmann::ordered_json;

json or_null(const std::optional<std::uint64_t>& number) { return number ? json(*number) : json(nullptr); }

json to_json(const run_summary& run, const file_survey& file) {
  json kinds = json::object();
  for (std::size_t kind = 0; kind < file.records_by_kind.size(); ++kind) {
    if (file.records_by_kind[kind] > 0) kinds[record_descriptions[kind].name] = file.records_by_kind[kind];
  }
  return {{"path", file.path},
          {"number", file.number},
          {"format", file.format},
          {"size_bytes", file.size_bytes},
          {"frequency", file.frequency},
          {"concurrency", file.concurrency},
          {"header_differs", has_other_header(run, file)},
          {"records", file.record_count},
          {"records_by_kind", kinds},
          {"first_timestamp", or_null(file.first_timestamp)},
          {"last_timestamp", or_null(file.last_timestamp)},
          {"backward_steps", file.backward_steps},
          {"end", name_of(file.ending)},
          {"reason", file.reason},
          {"damaged_byte", or_null(file.damaged_byte)},
          {"damaged_record", or_null(file.damaged_record)},
          {"unread_bytes", file.unread_bytes},
          {"unread_records", file.unread_records},
          {"cut_texts", file.cut_texts}};
}

json to_json(const warning_tally::tally& counts) {
  json rows = json::array();
  for (const auto& [message, count] : counts) rows.push_back({{"message", message}, {"count", count}});
  return rows;
}

json to_json(const model_counts& model) {
  return {{"graphs", model.graphs},
          {"nodes", model.nodes},
          {"composite_nodes", model.composite_nodes},
          {"ports", model.ports},
          {"edges_made", model.edges_made},
          {"edges", model.edges},
          {"parallel_regions", model.parallel_regions},
          {"implicit_tasks", model.implicit_tasks},
          {"explicit_tasks", model.explicit_tasks}};
}

}  // namespace

json warnings_json(const run_summary& run) { return to_json(run.warnings); }

void write_json(const run_summary& run, std::ostream& out) {
  json files = json::array();
  for (const file_survey& file : run.files) files.push_back(to_json(run, file));
  json domains = json::array();
  for (const auto& [handle, domain] : run.domains) {
    domains.push_back({{"handle", handle},
                       {"name", domain.is_named ? json(domain.name) : json(nullptr)},
                       {"type", domain_text(domain.type)},
                       {"records", domain.record_count}});
  }
  json tasks = json::array();
  for (const auto& [producer, thread] : run.tasks) {
    tasks.push_back({{"thread", producer},
                     {"begun", thread.begun},
                     {"ended", thread.ended},
                     {"unmatched_begins", thread.unmatched_begins},
                     {"unmatched_ends", thread.unmatched_ends}});
  }
  const bool has_gap = !run.gap.unread.empty();
  const json summary = {
      {"stem", run.stem},
      {"omp_experimental", run.omp_experimental},
      {"sound", run.is_sound()},
      {"problems", run.problems},
      {"converter_end", run.converter_end.empty() ? json(nullptr) : json(run.converter_end)},
      {"files", files},
      {"gap", has_gap ? json{{"missing", run.gap.missing}, {"unread", run.gap.unread}} : json(nullptr)},
      {"frequency", run.frequency},
      {"concurrency", run.concurrency},
      {"first_timestamp", or_null(run.first_timestamp)},
      {"last_timestamp", or_null(run.last_timestamp)},
      {"duration_ticks",
       run.first_timestamp ? json(*run.last_timestamp - *run.first_timestamp) : json(nullptr)},
      {"duration_seconds", run.duration_seconds ? json(*run.duration_seconds) : json(nullptr)},
      {"records", run.record_count},
      {"ignored_records", run.ignored_record_count},
      {"texts_with_markup", run.texts_with_markup},
      {"texts_with_line_break", run.texts_with_line_break},
      {"threads", run.threads},
      {"domains", domains},
      {"model", to_json(run.model)},
      {"tasks", tasks},
      {"warnings", warnings_json(run)},
      {"notes", to_json(run.notes)}};
  out << summary.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
}
