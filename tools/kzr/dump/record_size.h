#pragma once

#include <cstdint>

class trace_record;

/// Size in bytes of a record that was read whole, in the binary form. The record's own offset is of no use to
/// find it: that does not count what the reader's capture had no room for.
[[nodiscard]] std::uint64_t binary_size_of(const trace_record& record);

/// True for a record from a binary trace file.
[[nodiscard]] bool is_binary(const trace_record& record);
