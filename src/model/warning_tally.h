#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// How often each oddity of a trace was met that is no reason to stop, by its message. No output of the
/// converter contains it.
class warning_tally {
 public:
  void count(std::string_view message) {
    auto warning = counts_.find(message);
    if (warning == counts_.end()) warning = counts_.emplace(message, 0).first;
    ++warning->second;
  }

  [[nodiscard]] const std::map<std::string, std::uint64_t, std::less<>>& counts() const { return counts_; }

 private:
  std::map<std::string, std::uint64_t, std::less<>> counts_;
};
