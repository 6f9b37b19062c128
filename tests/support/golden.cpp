#include "support/golden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "support/recorded.h"

namespace fs = std::filesystem;

namespace {

std::set<std::string> find_outputs(const fs::path& directory) {
  std::set<std::string> names;
  if (!fs::is_directory(directory)) return names;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    const fs::path name = entry.path().filename();
    if (name.extension() == ".graphml" || name.extension() == ".traceml" || name == "zup_result.csv") {
      names.insert(name);
    }
  }
  return names;
}

/// The line of `text` that holds the position `at`.
std::string line_around(const std::string& text, std::size_t at) {
  const std::size_t before = at == 0 ? std::string::npos : text.rfind('\n', at - 1);
  const std::size_t first = before == std::string::npos ? 0 : before + 1;
  return text.substr(first, text.find('\n', first) - first);
}

void expect_same_bytes(const std::string& name, const std::string& expected, const std::string& actual) {
  if (expected == actual) return;
  const auto [in_expected, in_actual] =
      std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
  const auto at = static_cast<std::size_t>(in_expected - expected.begin());
  const auto line = 1 + std::count(expected.begin(), in_expected, '\n');
  ADD_FAILURE() << name << ':' << line << ": differs at byte " << at
                << "\n  expected: " << line_around(expected, at)
                << "\n  actual:   " << line_around(actual, at);
}

}  // namespace

void expect_golden(const std::string& case_name, const fs::path& directory) {
  SCOPED_TRACE(case_name);
  const fs::path golden = fs::path(KZR_GOLDEN_DIR) / case_name;
  const std::set<std::string> actual_names = find_outputs(directory);
  if (std::getenv("KZR_WRITE_GOLDEN") != nullptr) {
    fs::remove_all(golden);
    for (const std::string& name : actual_names) write_file(golden / name, read_file(directory / name));
    return;
  }
  const std::set<std::string> expected_names = find_outputs(golden);
  EXPECT_EQ(expected_names, actual_names) << "not the expected set of output files";
  for (const std::string& name : expected_names) {
    if (actual_names.count(name) == 0) continue;
    expect_same_bytes(name, read_file(golden / name), read_file(directory / name));
  }
}
