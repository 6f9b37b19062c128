#pragma once

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <sstream>
#include <string>

/// Takes in what is written to `std::cout` while it lives: the XML parser writes its messages there, where
/// they would get between the lines of this program.
class captured_output {
 public:
  captured_output() : standard_(std::cout.rdbuf(text_.rdbuf())) {}
  captured_output(const captured_output&) = delete;
  captured_output& operator=(const captured_output&) = delete;
  ~captured_output() { std::cout.rdbuf(standard_); }

  [[nodiscard]] std::size_t count_lines() const {
    const std::string text = text_.str();
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  }

 private:
  std::ostringstream text_;
  std::streambuf* standard_;
};
