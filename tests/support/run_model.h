#pragma once

#include <string>

#include "model/kzr_data_manager.h"
#include "processor/image_table.h"
#include "processor/kzr_record_processor.h"
#include "reader/multifile_reader.h"

/// A run in this process: its trace files, and the model and events that their records make.
struct run_model {
  /// Opens the trace files and processes all records, or those in front of one that ends the program.
  explicit run_model(const std::string& stem, bool omp_experimental = false);

  /// Completes the model and expects that it is sound.
  void complete();
  /// Writes the events of the completed model.
  void write_timeline(const std::string& file_name) const;

  multifile_reader traces;
  kzr_data_manager model{"run"};
  image_table images;
  kzr_record_processor processor;
  int records = 0;  ///< that were processed
};
