#include "support/run_model.h"

#include "processor/timeline_replay.h"
#include "support/model_check.h"
#include "traceml/kzr_traceml_writer.h"

run_model::run_model(const std::string& stem, bool omp_experimental)
    : traces(stem), processor(model, images, omp_experimental) {
  trace_record record;
  while (traces.next_record(record) && record.kind != record_kind::string_handle_create_w) {
    processor.process_record(record);
    ++records;
  }
}

void run_model::complete() {
  model.complete_inner_graphs();
  expect_sound_model(model);
}

void run_model::write_timeline(const std::string& file_name) const {
  kzr_traceml_writer timeline(model, file_name, traces.frequency(), traces.concurrency());
  replay_events(processor.collected().events(), model, timeline);
  timeline.close();
}
