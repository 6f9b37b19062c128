#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "graphml/graphml_writer.h"
#include "support/recorded.h"
#include "support/run_model.h"
#include "support/scratch_directory.h"

namespace {

/// Converts `bytes` up to the point where the program would end itself; the outputs go nowhere. Returns the
/// number of records that were used.
int convert_damaged(const std::string& stem, const std::string& bytes) {
  write_file(stem + ".0", bytes);
  run_model run(stem);
  run.complete();
  run.write_timeline("/dev/null");
  std::ostringstream document;
  graphml_writer writer(run.model);
  for (const graphml_file& file : run.model.files()) writer.write(file, document);
  return run.records;
}

/// Silences the messages about tasks that are left open.
class damaged_trace : public testing::Test {
 protected:
  ~damaged_trace() override { std::cerr.rdbuf(standard_); }

  scratch_directory directory_;
  const std::string stem_ = directory_ / "_kzr";

 private:
  std::ostringstream messages_;
  std::streambuf* standard_ = std::cerr.rdbuf(messages_.rdbuf());
};

TEST_F(damaged_trace, converts_every_prefix) {
  const std::string whole = every_kind(kzr::trace_form::binary);
  int most = 0;
  for (std::size_t kept = 0; kept <= whole.size(); ++kept) {
    SCOPED_TRACE(kept);
    const int records = convert_damaged(stem_, whole.substr(0, kept));
    ASSERT_GE(records, most);
    most = records;
  }
  EXPECT_EQ(most, 23);
}

// Each byte with its lowest, its highest and all bits turned, and with numbers that mean a kind of record.
TEST_F(damaged_trace, converts_with_any_byte_changed) {
  const std::string whole = every_kind(kzr::trace_form::binary);
  for (std::size_t at = 0; at < whole.size(); ++at) {
    SCOPED_TRACE(at);
    const auto old = static_cast<unsigned char>(whole[at]);
    for (const std::size_t value :
         {old ^ std::size_t{1}, old ^ std::size_t{128}, old ^ std::size_t{255}, at % 19, (at + 7) % 19}) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(value);
      if (bytes[0] != '<') convert_damaged(stem_, bytes);  // that would be another format
    }
  }
}

}  // namespace
