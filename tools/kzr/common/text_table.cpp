#include "kzr/common/text_table.h"

#include <algorithm>
#include <ostream>
#include <sstream>

#include "kzr/common/printable.h"

namespace {

/// Width on the screen: characters of several bytes count once.
std::size_t width_of(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }));
}

}  // namespace

void text_table::add_row(const std::vector<std::string>& cells) {
  std::vector<std::string> row;
  row.reserve(cells.size());
  for (const std::string& cell : cells) row.push_back(printable(cell));
  rows_.push_back(std::move(row));
}

std::vector<std::vector<std::string>> text_table::title_rows() const {
  std::vector<std::vector<std::string>> titles;
  std::size_t height = 0;
  for (const column& c : columns_) {
    std::istringstream lines(c.title);
    titles.emplace_back();
    for (std::string line; std::getline(lines, line);) titles.back().push_back(line);
    height = std::max(height, titles.back().size());
  }
  std::vector<std::vector<std::string>> rows(height, std::vector<std::string>(columns_.size()));
  for (std::size_t i = 0; i < titles.size(); ++i) {
    const std::size_t first = height - titles[i].size();
    for (std::size_t line = 0; line < titles[i].size(); ++line) rows[first + line][i] = titles[i][line];
  }
  return rows;
}

void text_table::print(std::ostream& out) const {
  const std::vector<std::vector<std::string>> titles = title_rows();
  std::vector<std::size_t> widths(columns_.size());
  for (const auto* const rows : {&titles, &rows_}) {
    for (const auto& row : *rows) {
      for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width_of(row[i]));
    }
  }
  for (const auto& row : titles) print_line(out, row, widths);
  for (const auto& row : rows_) print_line(out, row, widths);
}

void text_table::print_line(std::ostream& out, const std::vector<std::string>& cells,
                            const std::vector<std::size_t>& widths) const {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string blanks(widths[i] - width_of(cells[i]), ' ');
    line += "  ";
    line += columns_[i].side == align::right ? blanks + cells[i] : cells[i] + blanks;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out << line << '\n';
}
