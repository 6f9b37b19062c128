#include "kzr/report/json_text.h"

#include <nlohmann/json.hpp>

#include "kzr/common/utf8.h"

json_text& json_text::add(std::uint64_t number) {
  begin_element();
  text_ += std::to_string(number);
  return *this;
}

json_text& json_text::add_signed(std::int64_t number) {
  begin_element();
  text_ += std::to_string(number);
  return *this;
}

json_text& json_text::add_ticks(tick_sum ticks) {
  if (ticks <= greatest_exact_ticks) return add(static_cast<std::uint64_t>(ticks));
  begin_element();
  text_ += '"' + decimal_text(ticks) + '"';
  return *this;
}

json_text& json_text::add_thousandths(tick_sum number) {
  begin_element();
  const bool is_exact = number / thousandths <= greatest_exact_ticks;
  text_ += is_exact ? thousandths_text(number) : '"' + thousandths_text(number) + '"';
  return *this;
}

json_text& json_text::add_text(std::string_view text) {
  begin_element();
  text_ += nlohmann::json(valid_utf8(text)).dump();
  return *this;
}

json_text& json_text::add_null() {
  begin_element();
  text_ += "null";
  return *this;
}
