#include "recorder/ompt/construct_name.h"

#include <gtest/gtest.h>

namespace {

TEST(construct_name, is_that_of_the_function_in_the_text_of_the_program) {
  struct {
    const char* symbol;
    const char* name;
  } const cases[] = {
      {"main", "main"},
      {"main._omp_fn.0", "main"},
      {"fill.part.0", "fill"},
      {"_Z3addiPd", "add"},
      {"_Z3addiPd._omp_fn.3", "add"},
      {"_ZN12_GLOBAL__N_13addEi", "(anonymous namespace)::add"},
      {"_Z3addIiET_S0_", "int add[int]"},
      {"_ZNK6matrixclEii", "matrix::operator()"},
      {"__module_MOD_solve", "__module_MOD_solve"},
      {".omp_outlined.", ""},
      {".omp_task_entry..5", ""},
      {"bad\x1b[31m\"&", "bad_[31m__"},
  };
  for (const auto& expected : cases) {
    EXPECT_EQ(kzr::name_construct(expected.symbol), expected.name) << expected.symbol;
  }
  EXPECT_EQ(kzr::name_construct(std::string(300, 'x')), std::string(100, 'x'));
}

}  // namespace
