#include "analysis/node_links.h"

#include <algorithm>

#include "analysis/inner_ends.h"
#include "analysis/run_nodes.h"
#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"

void node_links::close() {
  std::ranges::sort(links_);
  links_.erase(std::unique(links_.begin(), links_.end()), links_.end());
  first_source_.assign(is_composite_.size() + 1, 0);
  sources_.reserve(links_.size());
  for (const auto& [target, source] : links_) {
    ++first_source_[target + 1];
    sources_.push_back(source);
  }
  for (std::size_t i = 1; i < first_source_.size(); ++i) first_source_[i] += first_source_[i - 1];
  links_ = {};
}

node_links find_links(const kzr_data_manager& model, run_nodes& nodes) {
  inner_ends ends;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> found;
  found.reserve(model.edges().size());
  for (std::uint32_t number = 0; number < model.edges().size(); ++number) {
    const edge_symbol& edge = model.edges().get(number);
    const auto [source, target] = ends_of(edge);
    for (const port_symbol* const end : {source, target}) nodes.find_or_add(end->node());
    const std::uint32_t from = nodes.find_or_add(ends.find(*source)->node());
    found.emplace_back(from, nodes.find_or_add(ends.find(*target)->node()));
  }
  node_links links(nodes.size());
  for (const auto& [source, target] : found) links.add(source, target);
  for (std::uint32_t node = 0; node < nodes.size(); ++node) {
    if (nodes[node].is_composite) links.mark_composite(node);
  }
  links.close();
  return links;
}

node_order::node_order(const node_links& links, std::vector<bool> has_run)
    : links_(links),
      has_run_(std::move(has_run)),
      found_of_(links.node_count()),
      visited_by_(links.node_count()) {
  find_hubs();
  find_stand_ins();
}

bool node_order::is_before(std::uint32_t before, std::uint32_t node) {
  // Nodes have few hubs and share them with many others, so that an answer for each hub is known already. Of
  // those with many hubs one answer is quicker to look through.
  constexpr std::size_t most_hubs = 8;
  const auto has = [](std::span<const std::uint32_t> nodes, std::uint32_t wanted) {
    return std::ranges::binary_search(nodes, wanted);
  };
  const std::span<const std::uint32_t> hubs = hubs_of(node);
  if (hubs.size() > most_hubs) return has(nodes_before(node), before);
  if (has_run_[before] && has(links_.sources_of(node), before)) return true;
  return std::ranges::any_of(hubs, [&](std::uint32_t hub) { return has(nodes_before(hub), before); });
}

void node_order::find_hubs() {
  first_hub_.reserve(std::size_t{links_.node_count()} + 1);
  for (std::uint32_t node = 0; node < links_.node_count(); ++node) {
    first_hub_.push_back(hubs_.size());
    for (const std::uint32_t source : links_.sources_of(node)) {
      if (is_looked_through(source)) hubs_.push_back(source);
    }
  }
  first_hub_.push_back(hubs_.size());
}

/// Many nodes get all they get from one other that did not run, such as a queue. Those share one answer.
void node_order::find_stand_ins() {
  constexpr std::uint32_t unknown = UINT32_MAX;
  stand_ins_.assign(links_.node_count(), unknown);
  std::vector<std::uint32_t> passed;
  for (std::uint32_t start = 0; start < links_.node_count(); ++start) {
    passed.clear();
    std::uint32_t node = start;
    while (stand_ins_[node] == unknown) {
      // Also the end of a circle that comes back here.
      stand_ins_[node] = node;
      const std::span<const std::uint32_t> sources = links_.sources_of(node);
      if (sources.size() != 1 || has_run_[sources.front()]) break;
      passed.push_back(node);
      node = sources.front();
    }
    for (const std::uint32_t other : passed) stand_ins_[other] = stand_ins_[node];
  }
}

std::span<const std::uint32_t> node_order::nodes_before(std::uint32_t node) {
  // Where everything is before everything, all answers would need the square of the nodes.
  constexpr std::size_t most_found = std::size_t{1} << 24;
  const std::uint32_t stand_in = stand_ins_[node];
  if (found_of_[stand_in] == 0) {
    if (found_size_ > most_found) {
      std::ranges::fill(found_of_, 0);
      found_.clear();
      found_size_ = 0;
    }
    found_.push_back(collect_before(stand_in));
    found_size_ += found_.back().size();
    found_of_[stand_in] = static_cast<std::uint32_t>(found_.size());
  }
  return found_[found_of_[stand_in] - 1];
}

std::vector<std::uint32_t> node_order::collect_before(std::uint32_t node) {
  ++searches_;
  std::vector<std::uint32_t> before;
  std::vector<std::uint32_t> pending = {node};
  while (!pending.empty()) {
    const std::uint32_t next = pending.back();
    pending.pop_back();
    for (const std::uint32_t source : links_.sources_of(next)) {
      if (visited_by_[source] == searches_) continue;
      visited_by_[source] = searches_;
      if (has_run_[source]) before.push_back(source);
      if (is_looked_through(source)) pending.push_back(source);
    }
  }
  std::ranges::sort(before);
  return before;
}
