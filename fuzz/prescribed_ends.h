#pragma once

#include <functional>
#include <stdexcept>
#include <string>

/// What the fuzz targets throw where the program would abort with a message.
class prescribed_end : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Calls `work` and lets it end the way some inputs must end the program: by one of the messages for
/// unreadable input or one of the uncaught conversions. Any other abort or exception is a find and ends the
/// process.
void expect_prescribed_end(const std::function<void()>& work);
