#include "model/domain_table.h"

#include <algorithm>

std::string_view domain_text(DomainType type) {
  switch (type) {
    case DomainType::pwl:
      return "pwl";
    case DomainType::pwl_flow:
      return "pwl.flow";
    case DomainType::pwl_algorithm:
      return "pwl.algorithm";
    case DomainType::openmp:
      return "openmp";
    case DomainType::unknown:
      break;
  }
  return "unknown";
}

namespace {

template <class Text>
DomainType classify(Text name) {
  for (const DomainType type :
       {DomainType::pwl, DomainType::pwl_flow, DomainType::pwl_algorithm, DomainType::openmp}) {
    if (std::ranges::equal(name, domain_text(type))) return type;
  }
  return DomainType::unknown;
}

}  // namespace

DomainType classify_domain(std::string_view name) { return classify(name); }

DomainType classify_domain(std::wstring_view name) { return classify(name); }

std::uint32_t domain_table::index_of(std::uint64_t handle) {
  if (types_.empty() || handle != last_.first) {
    const auto [entry, is_new] = indexes_.emplace(handle, static_cast<std::uint32_t>(types_.size()));
    if (is_new) types_.push_back(DomainType::unknown);
    last_ = *entry;
  }
  return last_.second;
}
