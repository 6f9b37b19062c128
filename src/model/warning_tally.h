#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// How often each oddity of a trace was met that is no reason to stop, by its message; and, apart from these,
/// what is left out of ordinary traces. No output of the converter contains it.
class warning_tally {
 public:
  using tally = std::map<std::string, std::uint64_t, std::less<>>;

  /// Something odd was met.
  void count(std::string_view message) { add(counts_, message); }
  /// Something was left out as it should be.
  void note(std::string_view message) { add(notes_, message); }

  [[nodiscard]] const tally& counts() const { return counts_; }
  [[nodiscard]] const tally& notes() const { return notes_; }

 private:
  static void add(tally& counts, std::string_view message) {
    auto known = counts.find(message);
    if (known == counts.end()) known = counts.emplace(message, 0).first;
    ++known->second;
  }

  tally counts_;
  tally notes_;
};
