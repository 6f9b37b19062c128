#pragma once

struct dump_options;

/// Prints the merged records that the filter lets through to standard output. Memory does not grow with the
/// number of records, but for XML files, which are held as trees until they are used up. False when some file
/// could not be read to its end, or the output could not be written.
[[nodiscard]] bool list_records(const dump_options& options);
