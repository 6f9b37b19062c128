#include "kzr/export/region_tracks.h"

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

namespace {

class region_layout {
 public:
  region_layout(const std::vector<timeline_marks::region>& regions,
                const std::function<void(const region_line&)>& take)
      : regions_(regions), take_(take) {}

  std::uint32_t run() {
    std::vector<std::uint32_t> order(regions_.size());
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::sort(order, {}, [this](std::uint32_t region) { return begin_of(region); });
    for (const std::uint32_t region : order) {
      end_before(begin_of(region));
      begin(region);
    }
    while (!ends_.empty()) end_first();
    return static_cast<std::uint32_t>(open_.size());
  }

 private:
  /// A time, and at the same time a place among the lines.
  using moment = std::pair<std::uint64_t, std::uint32_t>;

  [[nodiscard]] moment begin_of(std::uint32_t region) const {
    return {regions_[region].begin, regions_[region].begin_line};
  }
  [[nodiscard]] moment end_of(std::uint32_t region) const {
    return {regions_[region].end, regions_[region].end_line};
  }

  void begin(std::uint32_t region) {
    const std::uint32_t track = take_track(end_of(region));
    open_[track].push_back(region);
    ends_.emplace(end_of(region), track);
    take_({regions_[region], track, true});
  }

  /// A track whose innermost region ends no earlier than `end`, else one on which nothing is open.
  std::uint32_t take_track(const moment& end) {
    std::uint32_t track = 0;
    if (const auto around = ends_.lower_bound({end, 0}); around != ends_.end()) {
      track = around->second;
      ends_.erase(around);
    } else if (!free_.empty()) {
      track = *free_.begin();
      free_.erase(free_.begin());
    } else {
      track = static_cast<std::uint32_t>(open_.size());
      open_.emplace_back();
    }
    return track;
  }

  void end_before(const moment& limit) {
    while (!ends_.empty() && ends_.begin()->first < limit) end_first();
  }
  void end_first() {
    const std::uint32_t track = ends_.begin()->second;
    ends_.erase(ends_.begin());
    take_({regions_[open_[track].back()], track, false});
    open_[track].pop_back();
    if (open_[track].empty()) {
      free_.insert(track);
    } else {
      ends_.emplace(end_of(open_[track].back()), track);
    }
  }

  const std::vector<timeline_marks::region>& regions_;
  const std::function<void(const region_line&)>& take_;
  std::vector<std::vector<std::uint32_t>> open_;     ///< by track, the innermost last
  std::set<std::pair<moment, std::uint32_t>> ends_;  ///< of the innermost regions, with their tracks
  std::set<std::uint32_t> free_;                     ///< tracks on which nothing is open
};

}  // namespace

std::uint32_t lay_out_regions(const std::vector<timeline_marks::region>& regions,
                              const std::function<void(const region_line&)>& take) {
  return region_layout(regions, take).run();
}
