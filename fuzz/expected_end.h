#pragma once

#include <functional>

/// Calls `work` and lets it end the way some inputs end the program: by one of the messages for unreadable
/// input or one of the uncaught conversions. Any other abort or exception is a find and ends the process.
void allow_expected_end(const std::function<void()>& work);
