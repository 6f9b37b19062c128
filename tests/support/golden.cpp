#include "support/golden.h"

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

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

void expect_same_bytes(const std::string& name, const std::string& expected, const std::string& actual) {
  if (expected == actual) return;
  std::istringstream expected_lines(expected);
  std::istringstream actual_lines(actual);
  std::string line;
  std::string other;
  int number = 0;
  do {
    ++number;
    line = other = "(end of file)";
    std::getline(expected_lines, line);
    std::getline(actual_lines, other);
  } while (line == other && expected_lines);
  ADD_FAILURE() << name << ':' << number << "\n  expected: " << line << "\n  actual:   " << other;
}

}  // namespace

void golden_run::write_traces(const std::vector<std::string>& files) const {
  for (std::size_t n = 0; n < files.size(); ++n) {
    write_file(directory_ / ("_kzr." + std::to_string(n)), files[n]);
  }
}

void golden_run::expect_golden(const std::string& case_name) const {
  SCOPED_TRACE(case_name);
  const fs::path golden = fs::path(KZR_GOLDEN_DIR) / case_name;
  const std::set<std::string> actual_names = find_outputs(directory_.path());
  if (std::getenv("KZR_WRITE_GOLDEN") != nullptr) {
    if (GetParam() != kzr::trace_form::binary) return;
    fs::remove_all(golden);
    for (const std::string& name : actual_names) write_file(golden / name, read_file(directory_ / name));
    return;
  }
  const std::set<std::string> expected_names = find_outputs(golden);
  EXPECT_EQ(expected_names, actual_names) << "not the expected set of output files";
  for (const std::string& name : expected_names) {
    if (actual_names.contains(name)) {
      expect_same_bytes(name, read_file(golden / name), read_file(directory_ / name));
    }
  }
}
