#pragma once

#include <cstdint>
#include <string_view>

class kzr_data_manager;
class node_symbol;
class string_handles;

/// The policy of a join node with such a kind handle; null for every other kind. A key-matching join is none
/// of these: it is shown with its full kind text.
[[nodiscard]] const char* find_join_policy(const string_handles& handles, std::uint64_t kind);

/// The type that the documents give a node.
[[nodiscard]] std::string_view node_type_of(const kzr_data_manager& model, const node_symbol& node);
