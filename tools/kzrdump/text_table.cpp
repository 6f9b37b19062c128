#include "kzrdump/text_table.h"

#include <algorithm>
#include <ostream>

#include "kzrdump/printable.h"

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

void text_table::print(std::ostream& out) const {
  std::vector<std::string> titles;
  for (const column& c : columns_) titles.push_back(printable(c.title));
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::size_t width = width_of(titles[i]);
    for (const auto& row : rows_) width = std::max(width, width_of(row[i]));
    widths.push_back(width);
  }
  print_line(out, titles, widths);
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
