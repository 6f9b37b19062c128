#include "analysis/inner_ends.h"

#include <utility>

#include "model/edge_symbol.h"
#include "model/port_symbol.h"

edge_ends ends_of(const edge_symbol& edge) {
  edge_ends ends{&edge.first(), &edge.second()};
  if (ends.source->is_input() && !ends.target->is_input()) std::swap(ends.source, ends.target);
  return ends;
}

const port_symbol* inner_ends::find(const port_symbol& port) {
  const auto if_passes = [this](const port_symbol* end) {
    return !passes_ || passes_(end->node()) ? end : nullptr;
  };
  const port_symbol* next = &port;
  passed_.clear();
  // Until more is known a port stands for itself, which also ends links that come back to it.
  while (next->aliased_child() != nullptr && known_.emplace(next, if_passes(next)).second) {
    passed_.push_back(next);
    next = next->aliased_child();
  }
  const auto known = known_.find(next);
  const port_symbol* end = known != known_.end() ? known->second : if_passes(next);
  for (auto outer = passed_.rbegin(); outer != passed_.rend(); ++outer) {
    if (end == nullptr) end = if_passes(*outer);
    known_[*outer] = end;
  }
  return end;
}
