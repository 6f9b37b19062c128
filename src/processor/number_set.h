#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>

#include "common/flat_map.h"

/// A set of numbers that is filled once for every task, mostly with numbers it holds already.
class number_set {
 public:
  /// Puts `number` in, if it is not in yet.
  void insert(long number) {
    if (number >= 0 && static_cast<std::size_t>(number) < small_.size()) {
      small_[static_cast<std::size_t>(number)] = true;
    } else {
      insert_large(number);
    }
  }

  /// The numbers in ascending order.
  [[nodiscard]] std::set<long> sorted() const {
    std::set<long> numbers;
    for (std::size_t i = 0; i < small_.size(); ++i) {
      if (small_[i]) numbers.insert(static_cast<long>(i));
    }
    large_.for_each([&numbers](std::int64_t number, bool) { numbers.insert(static_cast<long>(number)); });
    return numbers;
  }

 private:
  // Out of the way of the common numbers.
  [[gnu::noinline]] void insert_large(long number) { large_.place(number) = true; }

  // Threads and processors have small numbers; a damaged trace may have any.
  std::array<bool, 4096> small_{};
  flat_map<std::int64_t, bool> large_;
};
