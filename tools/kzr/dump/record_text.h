#pragma once

#include <cstdio>
#include <memory>
#include <string>

class trace_record;

/// The text of a record of a kind with one, as the converter takes it: wide texts with one byte a character.
[[nodiscard]] std::string text_of(const trace_record& record);

/// Makes the text by which people look at a record. Keeps one trace file open, for the bytes of binary
/// records: made before the files of the run are opened, it always finds room for that.
class record_printer {
 public:
  /// `stem` is the path of the trace files without point and number.
  explicit record_printer(std::string stem);

  /// Number of the file and name of the kind, then a line for each field with its name, all in printable
  /// form. The bytes are those of the file, all of them. Valid until the next call.
  const std::string& print(const trace_record& record);

 private:
  void add_bytes(const trace_record& record);
  [[nodiscard]] std::FILE* open(int number);

  struct file_closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string stem_;
  std::string text_;
  int number_ = 0;  ///< of the file that is open
  std::unique_ptr<std::FILE, file_closer> file_;
};
