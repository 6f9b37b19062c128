#pragma once

#include <set>

#include "common/flat_map.h"

/// A set of numbers that is filled once for every task, mostly with numbers it holds already.
class number_set {
 public:
  /// Puts `number` in, if it is not in yet.
  void insert(long number) {
    if (number == last_ && !seen_.empty()) return;
    last_ = number;
    seen_.place(number) = true;
  }

  /// The numbers in ascending order.
  [[nodiscard]] std::set<long> sorted() const {
    std::set<long> numbers;
    seen_.for_each([&numbers](std::int64_t number, bool) { numbers.insert(static_cast<long>(number)); });
    return numbers;
  }

 private:
  flat_map<std::int64_t, bool> seen_;
  long last_ = 0;
};
