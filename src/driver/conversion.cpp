#include "driver/conversion.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

#include "driver/record_loop.h"
#include "graphml/graphml_writer.h"
#include "model/kzr_data_manager.h"
#include "processor/image_table.h"
#include "processor/kzr_record_processor.h"
#include "processor/timeline_replay.h"
#include "reader/multifile_reader.h"
#include "traceml/kzr_traceml_writer.h"

void raise_open_file_limit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

void ignore_output_signals() {
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
}

namespace {

/// Keeps a few files open for as long as it exists, so that a run with more trace files than
/// may be open does not leave none for its outputs.
class reserved_files {
 public:
  reserved_files() {
    for (int& file : files_) file = open("/dev/null", O_RDONLY | O_CLOEXEC);
  }
  reserved_files(const reserved_files&) = delete;
  reserved_files& operator=(const reserved_files&) = delete;
  ~reserved_files() {
    for (const int file : files_) {
      if (file >= 0) close(file);
    }
  }

 private:
  std::array<int, 8> files_{};
};

/// Opens the trace files of the run.
multifile_reader open_traces(const std::string& stem) {
  const reserved_files reserved;
  return multifile_reader(stem);
}

}  // namespace

void convert(const run_settings& settings) {
  multifile_reader traces = open_traces(settings.trace_stem);
  kzr_data_manager model(settings.run_name);
  kzr_traceml_writer timeline(model, settings.run_name + ".traceml", traces.frequency(),
                              traces.concurrency());
  image_table images = read_image_table();
  kzr_record_processor processor(model, images, settings.omp_experimental != 0);
  process_records(traces, model, processor);
  write_zup_output(images);
  model.complete_inner_graphs();
  timeline.platform_creation(std::stoi(traces.concurrency()));
  timeline.meta_head_creation(processor.collected().cores(), processor.collected().threads());
  replay_events(processor.collected().events(), model, timeline);
  timeline.close();
  graphml_writer(model).write_files();
}
