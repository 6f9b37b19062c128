#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "layout/graph_layout.h"

struct layout_box {
  std::int64_t width = 0;
  std::int64_t height = 0;
};

/// Where boxes stand in rows, in the order given, `gap` apart.
struct box_packing {
  layout_box size;
  std::vector<layout_point> places;  ///< left upper corners
};

/// Fills rows up to `row_width`, or as wide as the widest box.
[[nodiscard]] box_packing pack_boxes(std::span<const layout_box> boxes, std::int64_t gap,
                                     std::int64_t row_width);

/// The width of rows by which the boxes fill about a screen's shape.
[[nodiscard]] std::int64_t screen_row_width(std::span<const layout_box> boxes, std::int64_t gap);
