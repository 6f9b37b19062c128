#include "kzr/export/nanosecond_clock.h"

#include <string>

#include "analysis/tick_sum.h"
#include "kzr/common/number_option.h"
#include "kzr/output/output_watch.h"
#include "kzr/report/run_report.h"

namespace {

constexpr std::uint64_t nanoseconds_per_second = 1'000'000'000;
constexpr tick_sum most_nanoseconds = INT64_MAX;

tick_sum to_nanoseconds(std::uint64_t ticks, std::uint64_t frequency) {
  return tick_sum{ticks} * nanoseconds_per_second / frequency;
}

}  // namespace

nanosecond_clock::nanosecond_clock(const run_report& report, output_watch& watch)
    : frequency_(read_number<std::uint64_t>(report.summary().frequency).value_or(0)) {
  const timeline_marks& marks = report.marks;
  if (!marks.has_lines()) return;  // there are no times then
  first_ = marks.first_time();
  std::string reason;
  if (frequency_ == 0) {
    reason = "the frequency \"" + report.summary().frequency + "\" of the trace is no whole number above 0";
  } else if (to_nanoseconds(marks.last_time() - first_, frequency_) > most_nanoseconds) {
    reason = "in nanoseconds the length of the run does not fit 63 bits";
  }
  if (reason.empty()) return;
  frequency_ = nanoseconds_per_second;
  watch.warn(reason + "; one tick is written as one nanosecond");
}

std::uint64_t nanosecond_clock::at(std::uint64_t ticks) const {
  return static_cast<std::uint64_t>(to_nanoseconds(ticks - first_, frequency_));
}
