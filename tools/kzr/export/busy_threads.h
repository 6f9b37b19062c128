#pragma once

#include <cstdint>
#include <functional>

class execution_table;
class nanosecond_clock;

/// Hands out how many threads were busy, by time: one number for each nanosecond that leaves another one than
/// there was, the first one being 0.
void count_busy_threads(const execution_table& executions, const nanosecond_clock& clock,
                        const std::function<void(std::uint64_t time, std::uint64_t busy_threads)>& take);
