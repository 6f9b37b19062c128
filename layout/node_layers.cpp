#include "layout/node_layers.h"

#include <algorithm>
#include <limits>

#include "layout/network_simplex.h"

namespace {

class layer_finder {
 public:
  layer_finder(std::uint32_t node_count, const std::vector<layer_arc>& arcs)
      : arcs_(arcs),
        leaving_(node_count, arcs, &layer_arc::from),
        arriving_(node_count, arcs, &layer_arc::to),
        layers_(node_count) {}

  std::vector<std::int32_t> find() {
    stand_as_far_left_as_possible();
    for (int pass = 0; pass < 4; ++pass) {
      for (auto node = order_.rbegin(); node != order_.rend(); ++node) move_towards_heavier_side(*node);
      for (const std::uint32_t node : order_) move_towards_heavier_side(node);
    }
    network_simplex(arcs_, leaving_, arriving_, layers_).run();
    const std::int32_t least = *std::ranges::min_element(layers_);
    for (std::int32_t& layer : layers_) layer -= least;
    return std::move(layers_);
  }

 private:
  void stand_as_far_left_as_possible() {
    std::vector<std::uint32_t> missing(layers_.size());
    for (std::uint32_t node = 0; node < layers_.size(); ++node) {
      missing[node] = arriving_.size(node);
      if (missing[node] == 0) order_.push_back(node);
    }
    for (std::size_t i = 0; i < order_.size(); ++i) {
      for (const std::uint32_t* arc = leaving_.begin(order_[i]); arc != leaving_.end(order_[i]); ++arc) {
        const std::uint32_t target = arcs_[*arc].to;
        layers_[target] = std::max(layers_[target], layers_[order_[i]] + 1);
        if (--missing[target] == 0) order_.push_back(target);
      }
    }
  }

  void move_towards_heavier_side(std::uint32_t node) {
    std::int64_t pull = 0;  // to the right
    std::int32_t least = std::numeric_limits<std::int32_t>::min();
    std::int32_t greatest = std::numeric_limits<std::int32_t>::max();
    for (const std::uint32_t* arc = leaving_.begin(node); arc != leaving_.end(node); ++arc) {
      pull += arcs_[*arc].weight;
      greatest = std::min(greatest, layers_[arcs_[*arc].to] - 1);
    }
    for (const std::uint32_t* arc = arriving_.begin(node); arc != arriving_.end(node); ++arc) {
      pull -= arcs_[*arc].weight;
      least = std::max(least, layers_[arcs_[*arc].from] + 1);
    }
    if (pull > 0) layers_[node] = greatest;
    if (pull < 0) layers_[node] = least;
  }

  const std::vector<layer_arc>& arcs_;
  arcs_by_node leaving_;
  arcs_by_node arriving_;
  std::vector<std::int32_t> layers_;
  std::vector<std::uint32_t> order_;  ///< each node behind those with arcs to it
};

}  // namespace

std::vector<std::int32_t> find_node_layers(std::uint32_t node_count, const std::vector<layer_arc>& arcs) {
  return layer_finder(node_count, arcs).find();
}
