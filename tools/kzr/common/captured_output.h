#pragma once

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <sstream>
#include <string>

/// Takes in what is written to a stream while it lives, `std::cout` mostly: the XML parser writes its
/// messages there, where they would get between the lines of this program.
class captured_output {
 public:
  explicit captured_output(std::ostream& stream = std::cout)
      : stream_(stream), standard_(stream.rdbuf(text_.rdbuf())) {}
  captured_output(const captured_output&) = delete;
  captured_output& operator=(const captured_output&) = delete;
  ~captured_output() { stream_.rdbuf(standard_); }

  [[nodiscard]] std::size_t count_lines() const {
    const std::string text = text_.str();
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  }

 private:
  std::ostream& stream_;
  std::ostringstream text_;
  std::streambuf* standard_;
};
