#include "kzr/report/code_places.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "kzr/report/run_report.h"

namespace {

class place_finder {
 public:
  explicit place_finder(const run_report& report)
      : report_(report), place_of_(report.nodes.size(), unknown) {}

  std::vector<code_place_figures> find() {
    for (std::uint32_t node = 0; node < report_.nodes.size(); ++node) add_node(node);
    for (std::size_t i = 0; i < report_.marks.regions().size(); ++i) add_region(i);
    std::ranges::sort(places_, [](const code_place_figures& a, const code_place_figures& b) {
      return std::tie(a.name, a.code.source, a.code.function) <
             std::tie(b.name, b.code.source, b.code.function);
    });
    return std::move(places_);
  }

 private:
  void add_node(std::uint32_t node) {
    const node_figures& figures = report_.figures.nodes[node];
    if (figures.executions == 0 && figures.total_ticks == 0) return;
    code_place_figures& place = place_of(node);
    ++place.nodes;
    place.executions += figures.executions;
    place.total_ticks += figures.total_ticks;
    place.self_ticks += figures.self_ticks;
    place.idle_share_thousandths += figures.idle_share_thousandths;
  }

  void add_region(std::size_t number) {
    const timeline_marks::region& region = report_.marks.regions()[number];
    // A graph as a whole is no place.
    if (!report_.is_listed(region.node) || !report_.range.holds(region.begin, region.end)) return;
    code_place_figures& place = place_of(region.node);
    ++place.regions;
    place.region_ticks += region.end - region.begin;
    place.region_busy_ticks += report_.region_busy_ticks[number];
  }

  code_place_figures& place_of(std::uint32_t node) {
    if (place_of_[node] == unknown) {
      const auto known = report_.code.find(node);
      const code_place code = known == report_.code.end() ? code_place{} : known->second;
      const auto [place, is_new] =
          numbers_.try_emplace({report_.name_of(node), code.function, code.source}, places_.size());
      if (is_new) {
        code_place_figures& added = places_.emplace_back();
        added.name = std::get<0>(place->first);
        added.code = code;
      }
      place_of_[node] = place->second;
    }
    return places_[place_of_[node]];
  }

  static constexpr std::size_t unknown = SIZE_MAX;

  const run_report& report_;
  std::vector<code_place_figures> places_;
  std::vector<std::size_t> place_of_;  ///< by node
  std::map<std::tuple<std::string, std::string, std::string>, std::size_t> numbers_;
};

}  // namespace

std::vector<code_place_figures> find_code_places(const run_report& report) {
  return place_finder(report).find();
}
