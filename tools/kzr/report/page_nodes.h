#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct run_report;

/// The numbers that nodes have in the page: their places in the lists of the part `nodes`. What is in no
/// list, but linked by edges, has the numbers behind those.
class page_nodes {
 public:
  explicit page_nodes(const run_report& report);

  /// The nodes of the lists, in their order.
  [[nodiscard]] const std::vector<std::uint32_t>& listed() const { return listed_; }
  [[nodiscard]] std::uint32_t number_of(std::uint32_t node) const { return numbers_[node]; }
  [[nodiscard]] bool is_listed(std::uint32_t node) const { return numbers_[node] < listed_.size(); }

 private:
  std::vector<std::uint32_t> listed_;
  std::vector<std::uint32_t> numbers_;  ///< by number in the report
};

/// The part `nodes`: every figure of every node, in columns.
[[nodiscard]] std::string make_page_nodes(const run_report& report, const page_nodes& nodes);

/// The part `links`: which nodes edges lead from and to.
[[nodiscard]] std::string make_page_links(const run_report& report, const page_nodes& nodes);
