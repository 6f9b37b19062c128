#include "layout/layer_arc.h"

arcs_by_node::arcs_by_node(std::uint32_t node_count, const std::vector<layer_arc>& arcs,
                           std::uint32_t layer_arc::*end)
    : first_(node_count + 1), arcs_(arcs.size()) {
  for (const layer_arc& arc : arcs) ++first_[arc.*end + 1];
  for (std::uint32_t node = 0; node < node_count; ++node) first_[node + 1] += first_[node];
  std::vector<std::uint32_t> next(first_.begin(), first_.end() - 1);
  for (std::uint32_t i = 0; i < arcs.size(); ++i) arcs_[next[arcs[i].*end]++] = i;
}
