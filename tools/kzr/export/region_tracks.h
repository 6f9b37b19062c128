#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "analysis/timeline_marks.h"

/// A region begins or ends on its track.
struct region_line {
  const timeline_marks::region& region;
  std::uint32_t track;
  bool is_begin;

  [[nodiscard]] std::uint64_t time() const { return is_begin ? region.begin : region.end; }
};

/// Puts regions on tracks such that those of a track are nested in each other or apart, and hands out their
/// begins and ends by time, at one time in the order of the lines. Returns how many tracks that takes. The
/// same regions get the same tracks.
std::uint32_t lay_out_regions(const std::vector<timeline_marks::region>& regions,
                              const std::function<void(const region_line&)>& take);
