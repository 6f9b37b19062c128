#include "driver/conversion.h"

#include <sys/resource.h>

#include <csignal>
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

void convert(const run_settings& settings) {
  // The reader keeps the texts that the model points at, so it goes last.
  multifile_reader reader(settings.trace_stem.c_str());
  kzr_record_processor processor(settings.run_name, reader.frequency(), reader.concurrency(),
                                 settings.omp_experimental);
  while (std::shared_ptr<trace_record> record = reader.next_record()) {
    if (record->kind != trace_record::bad_record) processor.process_record(std::move(record));
  }
  processor.write_zup_output();
  kzr_data_manager& dm = processor.data_manager();
  // Post-processing may append files, which are post-processed too.
  for (std::size_t i = 0; i < dm.files().size(); ++i) {
    const std::shared_ptr<graphml_file> file = dm.files()[i];
    file->post_process(&dm);
  }
  processor.dump_trace();
}
