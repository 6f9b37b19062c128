#include "fuzz/expected_end.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "common/kzr_assert.h"

namespace {
/// Thrown where the program would abort with a message.
class fatal_end : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};
}  // namespace

// Takes the place of the program's own fatal check, so that a target can go on after an end that is meant.
void kzr_fail(const std::string& message) { throw fatal_end(message); }

void KZR_ASSERT(bool condition, const std::string& message) {
  if (!condition) kzr_fail(message);
}

namespace {

constexpr std::array<std::string_view, 3> fatal_messages = {
    "Wide character strings not yet supported",
    "XML trace file does not have trace tag",
    "XML trace tag does not ts_frequency or hardware_concurrency attributes",
};

bool is_uncaught_conversion(std::string_view what) {
  return what == "stoi" || what == "stoull" || what.starts_with("vector::_M_range_check");
}

[[noreturn]] void report(const char* what) {
  std::fprintf(stderr, "unexpected end: %s\n", what);
  std::abort();
}

}  // namespace

void allow_expected_end(const std::function<void()>& work) {
  try {
    work();
  } catch (const fatal_end& end) {
    if (std::ranges::find(fatal_messages, end.what()) == fatal_messages.end()) report(end.what());
  } catch (const std::logic_error& error) {
    if (!is_uncaught_conversion(error.what())) report(error.what());
  }
}
