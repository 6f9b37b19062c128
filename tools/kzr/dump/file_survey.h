#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "reader/record_descriptions.h"

class progress_bar;

/// What is wrong with a record of an XML file that the converter ends itself over.
inline constexpr const char* malformed_metadata = "metadata without value or with a type that is no number";

/// How a trace file ends, or why it is not read.
enum class file_ending : std::uint8_t {
  closed,               ///< by its end record
  unclosed,             ///< behind a whole record
  damaged,              ///< at a record or mark-up that cannot be read
  empty,                ///< no byte in it
  foreign,              ///< no trace file
  cut_header,           ///< ends within the header
  unsupported_version,  ///< of another version than 0
  fatal,                ///< the converter ends itself over it
  without_version,      ///< no version at all, which ends the list of files
  unreadable,           ///< the system does not let it be read, which ends the list of files too
};

/// The word for people and programs.
[[nodiscard]] const char* name_of(file_ending ending);

/// True for files that give records to the run, up to where they end.
[[nodiscard]] bool is_usable(file_ending ending);

/// True when the converter takes the file for one that is not there, and so looks for no further ones.
[[nodiscard]] bool ends_list(file_ending ending);

/// What is in one trace file.
struct file_survey {
  int number = 0;
  std::string path;
  std::string format;  ///< "binary", "xml" or "unknown"
  std::uint64_t size_bytes = 0;
  std::string frequency;    ///< ticks per second, as the header says it
  std::string concurrency;  ///< hardware threads, likewise
  std::array<std::uint64_t, record_descriptions.size()> records_by_kind{};
  std::uint64_t record_count = 0;
  std::optional<std::uint64_t> first_timestamp;  ///< the smallest and the largest, in ticks
  std::optional<std::uint64_t> last_timestamp;
  std::uint64_t backward_steps = 0;  ///< records with an earlier timestamp than the one before
  file_ending ending = file_ending::closed;
  std::string reason;  ///< what is wrong, if anything
  /// Where a damaged file cannot be read any further: in a binary file its byte, in an XML file the number of
  /// the record, counted from 1.
  std::optional<std::uint64_t> damaged_byte;
  std::optional<std::uint64_t> damaged_record;
  std::uint64_t unread_bytes = 0;    ///< behind the end record of a binary file
  std::uint64_t unread_records = 0;  ///< behind the end record of an XML file
  std::uint64_t cut_texts = 0;       ///< texts of an XML file that are too long
  bool creates_openmp = false;       ///< one of its records creates a domain of OpenMP
};

/// Numbers of trace files that are not read because a number before them is missing.
struct numbering_gap {
  std::uint64_t missing = 0;          ///< the first number without a file, or the file that ends the list
  std::vector<std::uint64_t> unread;  ///< ascending; empty when there is no gap
};

/// Reads every trace file that the converter would open, to its end.
[[nodiscard]] std::vector<file_survey> survey_files(const std::string& stem, progress_bar& progress);

/// Looks for trace files behind number `missing` in the directory of the files.
[[nodiscard]] numbering_gap find_gap(const std::string& stem, std::uint64_t missing);

/// The trace files of a run before any is read.
struct file_inventory {
  std::uint64_t count = 0;
  std::uint64_t total_bytes = 0;
  std::uint64_t xml_bytes = 0;  ///< of them, those of XML files, which are read as they are opened
  std::string special_file;     ///< a pipe or device among them, which cannot be read twice; mostly empty
};

/// Lists the files that are there up to the first missing number, without reading on from their first byte.
[[nodiscard]] file_inventory list_files(const std::string& stem);
