#include "kzr/report/code_places.h"

#include <map>
#include <tuple>
#include <utility>

#include "kzr/report/run_report.h"

namespace {

class place_finder {
 public:
  explicit place_finder(const run_report& report) : report_(report), place_of_(report.nodes.size()) {}

  std::vector<code_place_figures> find() {
    for (std::uint32_t node = 0; node < report_.nodes.size(); ++node) add_node(node);
    for (std::size_t i = 0; i < report_.marks.regions().size(); ++i) add_region(i);
    std::vector<code_place_figures> places;
    for (auto& [key, place] : places_) places.push_back(std::move(place));
    return places;
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
    if (place_of_[node] == nullptr) {
      const auto known = report_.code.find(node);
      const code_place code = known == report_.code.end() ? code_place{} : known->second;
      std::string name = report_.name_of(node);
      code_place_figures& place = places_[{name, code.source, code.function}];
      place.name = std::move(name);
      place.code = code;
      place_of_[node] = &place;
    }
    return *place_of_[node];
  }

  const run_report& report_;
  /// By name, source and function.
  std::map<std::tuple<std::string, std::string, std::string>, code_place_figures> places_;
  std::vector<code_place_figures*> place_of_;  ///< by node, null where it is not known yet
};

}  // namespace

std::vector<code_place_figures> find_code_places(const run_report& report) {
  return place_finder(report).find();
}
