#pragma once

#include <array>
#include <cstddef>
#include <exception>
#include <memory>

#include "reader/multifile_reader.h"
#include "reader/trace_record.h"

/// Hands out the records of a run. Once told to, it takes them from their reader some steps before they are
/// asked for, and shows them, so that whoever handles a record can meanwhile have the memory fetched that
/// later ones need.
class read_ahead {
 public:
  /// How many records are known before they are handed out.
  static constexpr std::size_t steps = 8;

  /// `reader` must outlive the object and is not to be used beside it.
  explicit read_ahead(multifile_reader& reader) : reader_(reader) {}

  /// Takes records ahead from now on, at most once. That has its price: to be called when there is something
  /// to fetch.
  void start();
  /// Whether records are taken ahead.
  [[nodiscard]] bool is_started() const { return is_started_; }

  /// The next record of the run; null when all are handed out. Throws what the reader threw in its place.
  std::shared_ptr<trace_record> next_record() { return is_started_ ? take_record() : reader_.next_record(); }

  /// The record that `next_record` returns after `skipped` others, fewer than `steps`; null when there is
  /// none or records are not taken ahead. Borrowed until the next call of `next_record`.
  [[nodiscard]] const trace_record* upcoming(std::size_t skipped) const {
    return records_[(next_ + skipped) % steps].get();
  }

 private:
  std::shared_ptr<trace_record> take_record();
  void read(std::shared_ptr<trace_record>& record);

  multifile_reader& reader_;
  bool is_started_ = false;
  /// The records that come next, in a circle from `next_` on; null behind the last one.
  std::array<std::shared_ptr<trace_record>, steps> records_;
  std::size_t next_ = 0;
  /// What the reader threw in place of the record behind those.
  std::exception_ptr failure_;
};
