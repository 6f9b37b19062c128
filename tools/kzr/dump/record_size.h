#pragma once

#include <cstdint>

class trace_record;

/// True for a record from a binary trace file.
[[nodiscard]] bool is_binary(const trace_record& record);

/// Bytes that a record takes in its binary trace file, when it was read whole; 0 for one of an XML file.
[[nodiscard]] std::uint64_t binary_size_of(const trace_record& record);
