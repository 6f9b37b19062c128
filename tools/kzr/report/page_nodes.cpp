#include "kzr/report/page_nodes.h"

#include <algorithm>
#include <utility>

#include "kzr/report/json_text.h"
#include "kzr/report/run_report.h"

page_nodes::page_nodes(const run_report& report)
    : listed_(list_nodes(report)), numbers_(report.nodes.size()) {
  for (std::uint32_t number = 0; number < listed_.size(); ++number) numbers_[listed_[number]] = number;
  auto next = static_cast<std::uint32_t>(listed_.size());
  for (std::uint32_t node = 0; node < numbers_.size(); ++node) {
    if (!report.is_listed(node)) numbers_[node] = next++;
  }
}

std::string make_page_nodes(const run_report& report, const page_nodes& nodes) {
  json_text json;
  const auto column = [&](std::string_view before, const char* name, auto add) {
    json.list(before, name);
    for (const std::uint32_t node : nodes.listed()) add(node, report.figures.nodes[node]);
    json.end();
  };
  const auto spread = [&](const char* name, std::uint64_t node_figures::spread::*ticks) {
    column(",", name, [&json, ticks](std::uint32_t, const node_figures& figures) {
      figures.inclusive ? json.add_ticks((*figures.inclusive).*ticks) : json.add_null();
    });
  };
  const auto place = [&](const char* name, std::string code_place::*text) {
    column(",", name, [&, text](std::uint32_t node, const node_figures&) {
      const auto code = report.code.find(node);
      const bool is_known = code != report.code.end() && !(code->second.*text).empty();
      is_known ? json.add_text(code->second.*text) : json.add_null();
    });
  };
  using figures = const node_figures&;
  column("{", "id", [&](std::uint32_t node, figures) { json.add_text(report.nodes[node].id); });
  column(",", "name", [&](std::uint32_t node, figures) { json.add_text(report.name_of(node)); });
  column(",", "executions", [&](std::uint32_t, figures node) { json.add(node.executions); });
  column(",", "threads", [&](std::uint32_t, figures node) { json.add(node.threads); });
  column(",", "total_ticks", [&](std::uint32_t, figures node) { json.add_ticks(node.total_ticks); });
  column(",", "self_ticks", [&](std::uint32_t, figures node) { json.add_ticks(node.self_ticks); });
  spread("min_ticks", &node_figures::spread::min_ticks);
  column(",", "mean_ticks", [&](std::uint32_t, figures node) {
    node.inclusive ? json.add_thousandths(node.mean_thousandths()) : json.add_null();
  });
  spread("p50_ticks", &node_figures::spread::p50_ticks);
  spread("p90_ticks", &node_figures::spread::p90_ticks);
  spread("p99_ticks", &node_figures::spread::p99_ticks);
  spread("max_ticks", &node_figures::spread::max_ticks);
  spread("first_begin", &node_figures::spread::first_begin);
  spread("last_end", &node_figures::spread::last_end);
  column(",", "idle_share_ticks",
         [&](std::uint32_t, figures node) { json.add_thousandths(node.idle_share_thousandths); });
  place("function", &code_place::function);
  place("source", &code_place::source);
  return std::move(json.raw("}").text());
}

std::string make_page_links(const run_report& report, const page_nodes& nodes) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> links;
  std::vector<std::uint32_t> composites;
  for (std::uint32_t node = 0; node < report.links.node_count(); ++node) {
    for (const std::uint32_t source : report.links.sources_of(node)) {
      links.emplace_back(nodes.number_of(source), nodes.number_of(node));
    }
    if (report.links.is_composite(node)) composites.push_back(nodes.number_of(node));
  }
  std::ranges::sort(links);
  std::ranges::sort(composites);
  json_text json;
  json.list("{", "source");
  std::uint32_t last = 0;
  for (const auto& [source, target] : links) json.add(source - std::exchange(last, source));
  json.end().list(",", "target");
  for (const auto& [source, target] : links) json.add(target);
  json.end().list(",", "composite");
  for (const std::uint32_t node : composites) json.add(node);
  return std::move(json.end().raw("}").text());
}
