#pragma once

#include <cstdint>
#include <string>

/// A whole number of 128 bits: sums of ticks over threads and executions do not fit 64.
__extension__ using tick_sum = unsigned __int128;

/// How many thousandths `number` has, for sums that are not whole.
constexpr std::uint64_t thousandths = 1000;

/// `number` in plain decimal.
[[nodiscard]] std::string decimal_text(tick_sum number);

/// `number` thousandths in plain decimal: at most three digits behind the point, no zeros at the end.
[[nodiscard]] std::string thousandths_text(tick_sum number);

/// `dividend` / `divisor` in thousandths, rounded to the nearest one. `dividend` is below 2^117.
[[nodiscard]] constexpr tick_sum divide_in_thousandths(tick_sum dividend, std::uint64_t divisor) {
  return (dividend * thousandths + divisor / 2) / divisor;
}
