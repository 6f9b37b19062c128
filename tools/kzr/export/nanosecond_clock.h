#pragma once

#include <cstdint>

class output_watch;
struct run_report;

/// Turns the times of a run into whole nanoseconds since the first line of its timeline, rounded down.
class nanosecond_clock {
 public:
  /// Warns `watch` where the frequency of the trace cannot be used: then a tick is a nanosecond.
  nanosecond_clock(const run_report& report, output_watch& watch);

  /// `ticks` is not before the first line.
  [[nodiscard]] std::uint64_t at(std::uint64_t ticks) const;

 private:
  std::uint64_t first_ = 0;
  std::uint64_t frequency_;  ///< ticks per second
};
