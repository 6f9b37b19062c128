#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

/// A table for people: columns as wide as their widest cell, numbers to the right.
class text_table {
 public:
  enum class align : bool { left, right };
  struct column {
    std::string title;  ///< of several lines, if need be; the last ones stand beside each other
    align side = align::right;
  };

  explicit text_table(std::vector<column> columns) : columns_(std::move(columns)) {}

  /// One cell for each column. What could steer the terminal is made visible.
  void add_row(const std::vector<std::string>& cells);
  [[nodiscard]] bool is_empty() const { return rows_.empty(); }

  /// Writes the titles, then the rows, two blanks in.
  void print(std::ostream& out) const;

 private:
  [[nodiscard]] std::vector<std::vector<std::string>> title_rows() const;
  void print_line(std::ostream& out, const std::vector<std::string>& cells,
                  const std::vector<std::size_t>& widths) const;

  std::vector<column> columns_;
  std::vector<std::vector<std::string>> rows_;
};
