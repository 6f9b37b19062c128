#include "driver/conversion.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <memory>
#include <utility>

#include "graphml/graphml_file.h"
#include "processor/kzr_record_processor.h"
#include "reader/multifile_reader.h"

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

/// Keeps a few places among the open files for as long as it lives, so that a run with more trace files than
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
  // The reader keeps the texts that the model points at, so it goes last.
  multifile_reader reader = open_traces(settings.trace_stem);
  kzr_record_processor processor(settings.run_name, reader.frequency(), reader.concurrency(),
                                 settings.omp_experimental);
  trace_record record;
  while (reader.next_record(record)) processor.process_record(record);
  processor.write_zup_output();
  kzr_data_manager& dm = processor.data_manager();
  // Post-processing may append files, which are post-processed too.
  for (std::size_t i = 0; i < dm.files().size(); ++i) {
    const std::shared_ptr<graphml_file> file = dm.files()[i];
    file->post_process(&dm);
  }
  processor.dump_trace();
}
