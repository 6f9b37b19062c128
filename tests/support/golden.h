#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/recorded.h"
#include "support/scratch_directory.h"

/// A run in a directory of its own whose outputs (*.graphml, *.traceml, zup_result.csv) are exactly those of
/// tests/golden/<case_name>, whichever form its trace files have. XML carries no text with the byte 0xFF,
/// with
/// "</", or with a tag that does not end itself: such texts have no place in these runs.
class golden_run : public testing::TestWithParam<kzr::trace_form> {
 protected:
  /// An encoder of the form that is to be tested.
  [[nodiscard]] static kzr::trace_encoder recorded() { return ::recorded(GetParam()); }
  /// Writes `_kzr.0`, `_kzr.1`, ...
  void write_traces(const std::vector<std::string>& files) const;
  /// Compares the outputs byte by byte. With KZR_WRITE_GOLDEN in the environment those of the binary form
  /// become the golden files instead.
  void expect_golden(const std::string& case_name) const;

  const scratch_directory directory_;
};

/// Lets every test of the fixture `name`, a golden_run, run in both forms.
#define KZR_IN_BOTH_FORMS(name)                                                   \
  INSTANTIATE_TEST_SUITE_P(                                                       \
      form, name, testing::Values(kzr::trace_form::binary, kzr::trace_form::xml), \
      [](const auto& form) { return form.param == kzr::trace_form::xml ? "xml" : "binary"; })
