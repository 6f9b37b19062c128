#pragma once

#include <stdexcept>
#include <string>

/// Thrown where the converter would end itself with a message, so that the summary can tell it instead.
class converter_end : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};
