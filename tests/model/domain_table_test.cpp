#include "model/domain_table.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(domain_table, tells_domains_by_their_whole_name) {
  using enum DomainType;
  const std::pair<const char*, DomainType> cases[] = {
      {"pwl", pwl},       {"pwl.flow", pwl_flow}, {"pwl.algorithm", pwl_algorithm},
      {"openmp", openmp}, {"pwl.flowx", unknown}, {"PWL", unknown},
      {"", unknown},      {"pwl.", unknown},      {"openmp ", unknown}};
  domain_table domains;
  EXPECT_EQ(domains.type_of(7), unknown);
  for (const auto& [name, type] : cases) {
    const std::string narrow = name;
    EXPECT_EQ(classify_domain(narrow), type) << name;
    EXPECT_EQ(classify_domain(std::wstring(narrow.begin(), narrow.end())), type) << name;
    domains.set_type(7, type);  // in place of the one before, at the same index
    EXPECT_EQ(domains.type_of(7), type) << name;
    EXPECT_EQ(domains.type_of(8), unknown);
    EXPECT_EQ(domains.index_of(7), 0u);
    EXPECT_EQ(domains.type_at(0), type) << name;
  }
}

}  // namespace
