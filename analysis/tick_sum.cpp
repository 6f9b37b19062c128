#include "analysis/tick_sum.h"

#include <algorithm>

std::string decimal_text(tick_sum number) {
  std::string digits;
  do {
    digits += static_cast<char>('0' + static_cast<int>(number % 10));
    number /= 10;
  } while (number > 0);
  std::ranges::reverse(digits);
  return digits;
}

std::string thousandths_text(tick_sum number) {
  std::string text = decimal_text(number / thousandths);
  if (const auto rest = static_cast<unsigned>(number % thousandths); rest > 0) {
    text += '.' + std::to_string(thousandths + rest).substr(1);
    text.erase(text.find_last_not_of('0') + 1);
  }
  return text;
}
