#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kzr/dump/file_survey.h"
#include "model/kzr_data_manager.h"

class image_table;
class kzr_record_processor;
class multifile_reader;

/// The tasks of one thread. An unmatched begin has no end behind it, an unmatched end no begin before it.
struct thread_tasks {
  std::uint64_t begun = 0;
  std::uint64_t ended = 0;
  std::uint64_t unmatched_begins = 0;
  std::uint64_t unmatched_ends = 0;
};

/// A domain that the trace names. Records of domains of unknown type are not looked at by the converter.
struct domain_summary {
  std::string name;
  bool is_named = false;  ///< false for a domain that has records but none that creates it
  DomainType type = DomainType::unknown;
  std::uint64_t record_count = 0;
};

/// How many there are of each thing that the trace describes.
struct model_counts {
  std::uint64_t graphs = 0;  ///< without the inner graphs of composite nodes
  std::uint64_t nodes = 0;   ///< composite ones included
  std::uint64_t composite_nodes = 0;
  std::uint64_t ports = 0;
  std::uint64_t edges_made = 0;
  std::uint64_t edges = 0;  ///< that are there at the end
  std::uint64_t parallel_regions = 0;
  std::uint64_t implicit_tasks = 0;
  std::uint64_t explicit_tasks = 0;
};

/// What is in a run.
struct run_summary {
  std::string stem;
  bool omp_experimental = false;
  std::vector<file_survey> files;
  numbering_gap gap;
  std::uint64_t unopened_files =
      0;                    ///< files before a gap that the system did not let be open with the others
  std::string frequency;    ///< in ticks per second, from the first usable file
  std::string concurrency;  ///< in hardware threads, likewise
  std::optional<std::uint64_t> first_timestamp;  ///< smallest and largest of the run, in ticks
  std::optional<std::uint64_t> last_timestamp;
  std::optional<double> duration_seconds;
  std::uint64_t record_count = 0;          ///< that come out of the merge
  std::uint64_t ignored_record_count = 0;  ///< of them, those of domains of unknown type
  /// Texts that make lines which no reader of XML takes, since documents hold texts as they are: with < & "
  /// or a control character; and those of them with a line break, which look like several lines.
  std::uint64_t texts_with_markup = 0;
  std::uint64_t texts_with_line_break = 0;
  std::map<std::uint64_t, domain_summary> domains;  ///< by handle
  std::uint64_t threads = 0;                        ///< trace files with records
  std::map<int, thread_tasks> tasks;                ///< by number of the trace file
  model_counts model;
  warning_tally::tally warnings;  ///< the converter's own tally
  warning_tally::tally notes;     ///< what is left out and ordinary, likewise
  std::string converter_end;  ///< where and why the converter would not come to its end; empty if it would
  std::vector<std::string> problems;  ///< everything that is damaged or odd, a sentence each

  [[nodiscard]] bool is_sound() const { return problems.empty(); }
  /// True when there is no trace file at all.
  [[nodiscard]] bool is_missing() const { return files.empty() && gap.unread.empty(); }
};

/// Whether the OpenMP paths are on: always, never, or when a record of the run creates a domain of OpenMP.
enum class openmp_paths : std::uint8_t { on, off, as_recorded };

/// A node whose code is at an address, and when the trace said so.
struct code_address {
  const node_symbol* node;
  std::uint64_t address;
  std::uint64_t time;
};

/// A run as the converter would have it in memory before it writes anything, with what is odd about it.
/// Without `processor` where it would end itself before the first record.
struct recorded_run {
  run_summary summary;
  std::unique_ptr<multifile_reader> reader;  ///< owns the texts
  std::unique_ptr<image_table> images;
  std::unique_ptr<kzr_data_manager> model;  ///< with complete inner graphs, of the records that were read
  std::unique_ptr<kzr_record_processor> processor;
  std::vector<code_address> code_addresses;  ///< as they come; of several of a node the last one counts

  recorded_run();
  recorded_run(recorded_run&&) noexcept;
  ~recorded_run();
};

/// Reads the run twice: first file by file, then as the converter would, but without any output. Images are
/// those of the directory that QZD_DIR names.
[[nodiscard]] recorded_run read_run(const std::string& stem, openmp_paths openmp);

/// Ticks per second of the run; none when its frequency is no such number.
[[nodiscard]] std::optional<double> ticks_per_second(const run_summary& run);

/// The same, for those who want the summary alone.
[[nodiscard]] run_summary summarise_run(const std::string& stem, bool omp_experimental);
