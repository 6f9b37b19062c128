#pragma once

#include <compare>
#include <cstdint>

/// Identifier of a traced object: three words in their stored order, compared word by word, unsigned.
struct ___onx_id {
  std::uint64_t d1 = 0;
  std::uint64_t d2 = 0;
  std::uint64_t d3 = 0;

  friend constexpr auto operator<=>(const ___onx_id&, const ___onx_id&) = default;
};
