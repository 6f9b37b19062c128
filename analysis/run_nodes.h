#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class graph_symbol;
class kzr_data_manager;
class node_symbol;

/// The nodes of a run by number: first those that its documents show, in the order of the documents, then
/// whatever else is asked for. Nodes with the same id in the outputs are one.
class run_nodes {
 public:
  struct node {
    std::string id;
    const node_symbol* shown = nullptr;  ///< in a document; null for an id that none shows
    bool is_composite = false;
  };

  /// Borrows the model, which must be complete.
  explicit run_nodes(const kzr_data_manager& model);
  run_nodes(run_nodes&&) = default;
  run_nodes(const run_nodes&) = delete;
  run_nodes& operator=(const run_nodes&) = delete;

  // The number of what the outputs show under the id of a symbol, or under `id`; it is added where it is new.
  // A hidden node has the id of what it is in.
  std::uint32_t find_or_add(const node_symbol& symbol);
  std::uint32_t find_or_add(const graph_symbol& symbol);
  std::uint32_t find_or_add(std::string_view id);

  /// The number of a symbol that was asked for before, or that a document shows.
  [[nodiscard]] std::uint32_t get(const node_symbol& symbol) const;
  /// Whether a document shows the symbol.
  [[nodiscard]] bool is_shown(const node_symbol& symbol) const;

  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(nodes_.size()); }
  [[nodiscard]] const node& operator[](std::uint32_t number) const { return nodes_[number]; }

 private:
  std::uint32_t add(const node_symbol& symbol);

  static constexpr std::uint32_t unknown = UINT32_MAX;

  std::deque<node> nodes_;
  std::unordered_map<std::string_view, std::uint32_t> by_id_;  ///< by the texts in `nodes_`
  std::vector<std::uint32_t> by_symbol_number_;
};
