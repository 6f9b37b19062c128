#include "kzr/export/export_format.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<export_format, 0> table = {};

}  // namespace

std::span<const export_format> export_formats() { return table; }

const export_format* find_export_format(std::string_view name) {
  const auto found = std::ranges::find(export_formats(), name, &export_format::name);
  return found == export_formats().end() ? nullptr : &*found;
}
