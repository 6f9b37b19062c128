#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "model/kzr_data_manager.h"
#include "reader/read_ahead.h"

/// Has what upcoming records search for in a large model fetched from memory, so that it is in the caches
/// when they are processed. A search goes by way of several places, each of which has to come from memory
/// before the next one is known: each step of it is taken some records after the one before. Changes nothing.
class model_prefetcher {
 public:
  /// `model` must outlive the object.
  explicit model_prefetcher(const kzr_data_manager& model) : model_(model) {}

  /// To be called before each record is processed. Has `records` taken ahead once the model is large.
  void expect(read_ahead& records) {
    ++turn_;
    if (records.is_started()) {
      take_steps(records);
    } else if (model_.is_large()) {
      records.start();
    }
  }

 private:
  /// What is known of a record's search: the hashes of its identifiers and, later, the symbols that are most
  /// likely theirs; null where there is none.
  struct search {
    std::array<std::uint64_t, 2> hashes{};
    std::array<kzr_symbol*, 2> symbols{};
  };

  void take_steps(const read_ahead& records);
  void fetch_place(const trace_record& record, search& known) const;
  void fetch_symbol(const trace_record& record, search& known) const;
  static void fetch_ends(search& known);
  static void fetch_edge_place(const search& known);

  const kzr_data_manager& model_;
  /// Counts records.
  std::size_t turn_ = 0;
  /// Of the upcoming records, in a circle.
  std::array<search, read_ahead::steps> searches_;
};
