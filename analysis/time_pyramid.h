#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "analysis/begin_order.h"

/// What threads did in parts of the time of a run, at several levels of detail. At a level of n buckets,
/// bucket b is the time from floor(b * span / n) to floor((b + 1) * span / n), seen from the origin.
struct time_pyramid {
  static constexpr std::uint32_t no_node = UINT32_MAX;

  /// The buckets of a thread.
  struct lane {
    /// The share of a bucket that the thread was busy: 0 when it never was, 255 for all of it, rounded up.
    std::vector<std::uint8_t> busy;
    /// The node that was the innermost one longest, or `no_node`; of several the one with the least number.
    std::vector<std::uint32_t> node;
  };
  struct level {
    std::uint32_t buckets = 0;
    std::vector<lane> lanes;
  };

  std::vector<level> levels;  ///< coarse to fine, each with twice the buckets of the one before
};

/// What a pyramid is made of.
struct pyramid_plan {
  std::vector<int> threads;  ///< the lanes
  std::uint32_t node_count = 0;
  std::uint64_t origin = 0;  ///< no execution begins earlier
  std::uint64_t span = 0;    ///< none ends later than so many ticks behind the origin
};

/// Adds up a run. The coarsest level has so few buckets that a first picture of all lanes needs little room,
/// the finest about one for 32 executions; no bucket is empty, unless the run takes no time.
[[nodiscard]] time_pyramid build_pyramid(const execution_table& executions, const begin_order& order,
                                         const pyramid_plan& plan);
