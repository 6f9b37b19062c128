#pragma once

#include <vector>

#include "analysis/begin_order.h"

/// By execution: whether the order of the lines must be known to tell which of several ended last before
/// another began. So it is with ends at the time of an end on another thread, and with what begins at the
/// time of an execution of no length on another thread.
[[nodiscard]] std::vector<bool> find_tied_executions(const execution_table& executions,
                                                     const begin_order& order);
