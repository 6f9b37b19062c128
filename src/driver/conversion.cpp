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

/// Tells the watcher, where there is one.
class conversion_report {
 public:
  explicit conversion_report(conversion_watcher* watcher) : watcher_(watcher) {}

  void step(const char* step) const {
    if (watcher_ != nullptr) watcher_->on_step(step);
  }
  void output(const std::string& path, bool is_whole) const {
    if (watcher_ != nullptr && !path.empty()) watcher_->on_output(path, is_whole);
  }

 private:
  conversion_watcher* watcher_;
};

}  // namespace

void convert(const run_settings& settings, conversion_watcher* watcher) {
  const conversion_report report(watcher);
  report.step("opening the trace files");
  multifile_reader traces = open_traces(settings.trace_stem);
  kzr_data_manager model(settings.run_name);
  const std::string timeline_path = settings.run_name + ".traceml";
  kzr_traceml_writer timeline(model, timeline_path, traces.frequency(), traces.concurrency());
  report.step("reading imageload.csv");
  image_table images = read_image_table();
  kzr_record_processor processor(model, images, settings.omp_experimental != 0);
  report.step("reading the records");
  process_records(traces, model, processor, watcher);
  report.output(zup_output_path(), write_zup_output(images));
  report.step("completing inner graphs");
  model.complete_inner_graphs();
  report.step("writing the timeline");
  timeline.platform_creation(std::stoi(traces.concurrency()));
  timeline.meta_head_creation(processor.collected().cores(), processor.collected().threads());
  replay_events(processor.collected().events(), model, timeline);
  report.output(timeline_path, timeline.close());
  report.step("writing the documents");
  graphml_writer documents(model);
  for (const graphml_file& document : model.files()) {
    const std::string path = document.name + ".graphml";
    report.output(path, documents.write_file(document, path));
  }
}
