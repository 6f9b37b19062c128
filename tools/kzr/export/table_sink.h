#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

#include "analysis/tick_sum.h"

/// A column of a table: its name, and what SQL says of its values.
struct table_column {
  const char* name;
  const char* declaration;
};

/// A table of an export.
struct table_form {
  const char* name;
  std::span<const table_column> columns;
  const char* primary_key =
      nullptr;              ///< of several columns, separated by commas; null where one column is it
  bool may_be_cut = false;  ///< into parts of so many rows
};

/// A number with three digits behind the point.
struct thousandths_cell {
  tick_sum thousandths;
};

/// A value: none, whole, a sum that may need more than 64 bits, fractional, or a text. Texts are borrowed for
/// the call, and may hold any bytes.
using cell = std::variant<std::monostate, std::int64_t, tick_sum, thousandths_cell, double, std::string_view>;

/// Takes one table after the other, row by row.
class table_sink {
 public:
  table_sink() = default;
  table_sink(const table_sink&) = delete;
  table_sink& operator=(const table_sink&) = delete;
  virtual ~table_sink() = default;

  // For each table once begin(), its rows, and end(). Throw `output_error`, and `interruption`.

  virtual void begin(const table_form& table) = 0;
  /// A cell for each column.
  virtual void add_row(std::span<const cell> row) = 0;
  virtual void end() = 0;
};
