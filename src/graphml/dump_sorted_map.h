#pragma once

#include <algorithm>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "model/kzr_symbol.h"

/// Writes every symbol of `map` by the number in its id; symbols with the same number keep the map's order.
/// `indent` goes in front of every line; null entries are left out.
template <class Map>
void dump_sorted_map(const Map& map, kzr_data_manager& dm, std::ostream& os, const std::string& indent) {
  std::vector<std::shared_ptr<kzr_symbol>> symbols;
  symbols.reserve(map.size());
  for (const auto& entry : map) {
    if (entry.second) symbols.push_back(entry.second);
  }
  std::stable_sort(symbols.begin(), symbols.end(), kzr_symbol::gml_compare{});
  for (const auto& symbol : symbols) symbol->dump_as_graphml(dm, os, indent);
}
