#pragma once

#include <vector>

#include "analysis/begin_order.h"

/// By execution: whether its begin or end falls on the time of a begin or end on another thread, so that only
/// the order of the lines tells which came first.
[[nodiscard]] std::vector<bool> find_tied_executions(const execution_table& executions,
                                                     const begin_order& order);
