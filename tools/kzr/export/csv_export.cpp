#include "kzr/export/csv_export.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <memory>

#include "common/text_buffer.h"
#include "kzr/export/escaped_text.h"
#include "kzr/export/exported_run.h"
#include "kzr/export/run_tables.h"
#include "kzr/export/table_sink.h"
#include "kzr/output/byte_sink.h"

namespace {

constexpr std::string_view end_of_row = "\r\n";

/// Appends one value after the other to a row.
class cell_text {
 public:
  explicit cell_text(text_buffer& text) : text_(text) {}

  void operator()(std::monostate) {}
  void operator()(std::int64_t number) { text_.append_number(number); }
  void operator()(tick_sum number) { text_ += decimal_text(number); }
  void operator()(thousandths_cell number) { text_ += thousandths_text(number.thousandths); }
  void operator()(double number) {
    std::array<char, 32> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text_ += std::string_view(digits.data(), static_cast<std::size_t>(result.ptr - digits.data()));
  }
  void operator()(std::string_view text) {
    const std::string storable = storable_text(text);
    // An empty field without quotes is a missing value.
    if (!storable.empty() && storable.find_first_of("\",\r\n") == std::string::npos) {
      text_ += storable;
      return;
    }
    text_ += '"';
    for (const char letter : storable) {
      if (letter == '"') text_ += '"';
      text_ += letter;
    }
    text_ += '"';
  }

 private:
  text_buffer& text_;
};

class csv_folder : public table_sink {
 public:
  csv_folder(const exported_run& run, std::string path) : run_(run), path_(std::move(path)) {
    if (::mkdir(path_.c_str(), 0777) != 0) throw system_error_as_output_error(errno);
  }

  void begin(const table_form& table) override {
    table_ = &table;
    parts_ = 0;
    open_file();
  }

  void add_row(std::span<const cell> row) override {
    if (is_cut() && rows_ == run_.part_rows) {
      file_->close();
      open_file();
    }
    ++rows_;
    bool is_first = true;
    for (const cell& value : row) {
      if (!is_first) row_ += ',';
      is_first = false;
      std::visit(cell_text(row_), value);
    }
    write_row();
  }

  void end() override {
    file_->close();
    file_.reset();
  }

 private:
  [[nodiscard]] bool is_cut() const { return table_->may_be_cut && run_.part_rows > 0; }

  void open_file() {
    constexpr std::size_t least_digits = 5;
    std::string name = table_->name;
    if (is_cut()) {
      const std::string number = std::to_string(++parts_);
      const std::size_t zeros = least_digits - std::min(least_digits, number.size());
      name += '-' + std::string(zeros, '0') + number;
    }
    file_ = std::make_unique<file_sink>(path_ + '/' + name + ".csv", run_.watch);
    rows_ = 0;
    for (const table_column& column : table_->columns) {
      if (row_.size() > 0) row_ += ',';
      row_ += column.name;
    }
    write_row();
  }

  void write_row() {
    row_ += end_of_row;
    file_->write(row_);
    row_.clear();
  }

  const exported_run& run_;
  std::string path_;
  const table_form* table_ = nullptr;
  std::unique_ptr<file_sink> file_;
  std::uint64_t rows_ = 0;   ///< in the file
  std::uint64_t parts_ = 0;  ///< of the table
  text_buffer row_;
};

}  // namespace

void write_csv(const exported_run& run, const std::string& path) {
  csv_folder folder(run, path);
  write_run_tables(run.report, folder);
}
