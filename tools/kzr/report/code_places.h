#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/tick_sum.h"
#include "kzr/report/code_locator.h"

struct run_report;

/// What nodes with the same name and the same place in the code took together: tasks that a program makes in
/// one place are nodes of their own each, and so are the regions that it opens there. Regions of
/// graphs do not count, nor those that are not wholly inside the range of the report.
struct code_place_figures {
  std::string name;
  code_place code;
  std::uint64_t nodes = 0;  ///< that ran
  std::uint64_t executions = 0;
  tick_sum total_ticks = 0;
  tick_sum self_ticks = 0;
  tick_sum idle_share_thousandths = 0;
  std::uint64_t regions = 0;
  tick_sum region_ticks = 0;       ///< from begin to end
  tick_sum region_busy_ticks = 0;  ///< of all threads meanwhile
};

/// The places of all nodes that ran and all regions, in the order of their names and sources.
[[nodiscard]] std::vector<code_place_figures> find_code_places(const run_report& report);
