#include "layout/box_packing.h"

#include <algorithm>
#include <cmath>

box_packing pack_boxes(std::span<const layout_box> boxes, std::int64_t gap, std::int64_t row_width) {
  box_packing packed;
  packed.places.reserve(boxes.size());
  layout_point next;
  std::int64_t row_height = 0;
  for (const layout_box& box : boxes) {
    if (next.x > 0 && next.x + box.width > row_width) {
      next = {0, next.y + row_height + gap};
      row_height = 0;
    }
    packed.places.push_back(next);
    packed.size.width = std::max(packed.size.width, next.x + box.width);
    packed.size.height = std::max(packed.size.height, next.y + box.height);
    row_height = std::max(row_height, box.height);
    next.x += box.width + gap;
  }
  return packed;
}

std::int64_t screen_row_width(std::span<const layout_box> boxes, std::int64_t gap) {
  constexpr double aspect = 1.6;
  double area = 0;
  for (const layout_box& box : boxes) {
    area += static_cast<double>(box.width + gap) * static_cast<double>(box.height + gap);
  }
  return static_cast<std::int64_t>(std::sqrt(area * aspect));
}
