#pragma once

#include <cstdint>
#include <vector>

#include "analysis/tick_range.h"

class execution_table;
class node_links;

/// What is known of the time between an execution of the path and the one before it.
enum class gap_kind : std::uint8_t {
  none,         ///< there is no such time
  enclosing,    ///< an execution around it had begun already
  thread,       ///< its data was there: the one before is linked by an edge only
  data,         ///< its thread was free: the one before ran there, and nothing links them
  unexplained,  ///< neither
};

/// One observed chain of executions, back in time from the one that ended last, each with the one that ended
/// last before it among those that it may have waited for: on its thread or on a node before its own. It is
/// no proof that the one waited for the other. docs/analysis.md defines it.
struct observed_path {
  struct step {
    std::uint32_t execution;
    gap_kind kind;            ///< of the gap in front of it
    std::uint64_t gap_ticks;  ///< since the one before it ended, or since the first begin
  };

  std::vector<step> steps;       ///< by time
  std::uint64_t rest_ticks = 0;  ///< behind the last step, up to the last end
};

/// Finds the path of the executions that are wholly inside `range`.
[[nodiscard]] observed_path find_observed_path(const execution_table& executions, const node_links& links,
                                               const tick_range& range);
