#pragma once

#include <streambuf>
#include <string>
#include <string_view>

/// `text` with everything that could steer a terminal (control characters, bytes that are no UTF-8) as
/// "\x1b". Newlines and tabs stay when `keeps_lines` is set.
[[nodiscard]] std::string printable(std::string_view text, bool keeps_lines = false);

/// Passes on what is written to it in printable form, line by line texts as they are.
class printable_output : public std::streambuf {
 public:
  /// Borrows `sink`.
  explicit printable_output(std::streambuf& sink) : sink_(sink) {}

 protected:
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int_type overflow(int_type character) override;
  int sync() override { return sink_.pubsync(); }

 private:
  std::streambuf& sink_;
};
