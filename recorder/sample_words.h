#pragma once

#include <cstdint>
#include <string_view>

#include "recorder/trace_encoder.h"

/// What made-up runs are made of: one domain, string handles for the words that readers know, and a graph.
/// The numbers are small, so that a changed byte often names another of them.
namespace kzr::sample {

inline constexpr std::uint64_t domain = 1;
inline constexpr std::uint64_t graph_kind = 10;
inline constexpr std::uint64_t node_kind = 11;
inline constexpr std::uint64_t input_kind = 12;
inline constexpr std::uint64_t output_kind = 13;
inline constexpr std::uint64_t name_key = 14;
inline constexpr std::uint64_t address_key = 15;
inline constexpr std::uint64_t composite_kind = 16;
inline constexpr std::uint64_t special_kind = 17;
inline constexpr std::uint64_t region_kind = 18;
inline constexpr std::uint64_t implicit_kind = 19;
inline constexpr std::uint64_t explicit_kind = 20;

inline constexpr object_id graph{1, 1, 0};

/// Records the domain under `domain_name` and a text for each handle above.
trace_encoder& add_words(trace_encoder& encoder, std::string_view domain_name);

}  // namespace kzr::sample
