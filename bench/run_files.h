#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "recorder/trace_encoder.h"

namespace kzr::bench {

/// One trace file of a generated run, written in blocks so that its size does not matter. Throws
/// std::ios_base::failure when it cannot be written.
class trace_file {
 public:
  static constexpr std::uint64_t frequency = 2'500'000'000;
  static constexpr std::uint64_t concurrency = 8;

  /// Creates `<directory>/_kzr.<number>`.
  trace_file(const std::string& directory, std::size_t number, trace_form form);

  /// Starts a record at `time`; the caller completes it with one call of the encoder.
  trace_encoder& at(std::uint64_t time);
  /// Writes the end record and whatever has not been written yet; to be called once, last.
  void finish(std::uint64_t time);

  /// Records so far; the end record does not count.
  [[nodiscard]] std::uint64_t record_count() const { return record_count_; }

 private:
  void flush();

  trace_encoder encoder_;
  std::ofstream file_;
  std::uint64_t record_count_ = 0;
};

/// The files of some threads that record at the same time, on one clock: no two records share a timestamp.
class thread_files {
 public:
  thread_files(const std::string& directory, std::size_t count, trace_form form);

  /// Starts a record of a thread, some ticks behind the record before it.
  trace_encoder& on(std::size_t thread);
  /// The file of a thread, for records at times of its own.
  [[nodiscard]] trace_file& file(std::size_t thread) { return files_[thread]; }
  [[nodiscard]] std::uint64_t now() const { return now_; }
  [[nodiscard]] std::size_t count() const { return files_.size(); }

  /// Ends all files, behind `last_time` for the sake of records at times of their own; returns the number of
  /// records in them.
  std::uint64_t finish(std::uint64_t last_time = 0);

 private:
  std::vector<trace_file> files_;
  std::mt19937_64 random_{1};
  std::uint64_t now_ = 812'345'678'901;
};

}  // namespace kzr::bench
