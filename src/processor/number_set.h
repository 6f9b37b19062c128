#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>

/// A set of numbers that is filled once for every task, mostly with small numbers that it holds already.
class number_set {
 public:
  /// Puts `number` in, if it is not in yet.
  void insert(std::int64_t number) {
    if (number >= 0 && static_cast<std::size_t>(number) < small_.size()) {
      small_[static_cast<std::size_t>(number)] = true;
    } else {
      large_.insert(number);
    }
  }

  /// The numbers in ascending order.
  [[nodiscard]] std::set<std::int64_t> sorted() const {
    std::set<std::int64_t> numbers = large_;
    for (std::size_t i = 0; i < small_.size(); ++i) {
      if (small_[i]) numbers.insert(static_cast<std::int64_t>(i));
    }
    return numbers;
  }

 private:
  std::array<bool, 4096> small_{};
  std::set<std::int64_t> large_;  ///< a damaged trace may have any
};
