#include "reader/trace_record.h"

#include <string_view>

namespace {

/// Whether all kinds with a field of that name have it at the same position, since one accessor reads it.
constexpr bool is_at_one_position(std::string_view name) {
  std::size_t common = most_fields;
  for (std::size_t kind = 0; kind < record_descriptions.size(); ++kind) {
    const std::size_t position = field_position(static_cast<record_kind>(kind), name);
    if (position == most_fields) continue;
    if (common != most_fields && common != position) return false;
    common = position;
  }
  return common != most_fields;
}

static_assert(is_at_one_position("domain") && is_at_one_position("handle") && is_at_one_position("name") &&
              is_at_one_position("processor") && is_at_one_position("key") && is_at_one_position("type") &&
              is_at_one_position("count") && is_at_one_position("relation"));

}  // namespace

void trace_record::reset(std::int32_t of_producer) {
  kind = record_kind::end_of_records;
  producer = of_producer;
  f = {};
  id = {};
  string = nullptr;
  offset = 0;
}
