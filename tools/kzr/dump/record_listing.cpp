#include "kzr/dump/record_listing.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include "kzr/common/captured_output.h"
#include "kzr/common/complaint.h"
#include "kzr/common/progress_bar.h"
#include "kzr/common/run_option.h"
#include "kzr/dump/dump_options.h"
#include "kzr/dump/file_survey.h"
#include "kzr/dump/record_size.h"
#include "kzr/dump/record_text.h"
#include "reader/multifile_reader.h"

namespace {

bool lets_through(const record_filter& filter, const trace_record& record) {
  const auto kind = static_cast<std::size_t>(record.kind);
  const bool all_kinds = std::none_of(filter.kinds.begin(), filter.kinds.end(), [](bool set) { return set; });
  const std::vector<int>& producers = filter.producers;
  return (all_kinds || filter.kinds[kind]) && record.timestamp() >= filter.from &&
         record.timestamp() <= filter.to &&
         (producers.empty() ||
          std::find(producers.begin(), producers.end(), record.producer) != producers.end());
}

multifile_reader open_traces(const std::string& stem) {
  const captured_output messages;
  return multifile_reader(stem);
}

/// Tells on standard error what keeps the list from being whole; true when nothing does.
bool is_whole(const file_inventory& files, const numbering_gap& gap, const multifile_reader& reader,
              const std::string& stem) {
  const bool has_damage = reader.damaged_files() > 0 || reader.opened_files() < files.count ||
                          !gap.unread.empty() || files.count == 0;
  if (files.count == 0 && gap.unread.empty()) {
    complain(explain_missing_run(stem));
  } else if (has_damage) {
    complain(stem + ": not all records could be read; the summary says why");
  }
  return !has_damage;
}

}  // namespace

bool list_records(const dump_options& options) {
  const bool is_terminal = isatty(STDOUT_FILENO) != 0;
  const file_inventory files = list_files(options.stem);
  progress_bar progress(files.total_bytes, !is_terminal);
  progress.add(files.xml_bytes);
  record_printer printer(options.stem);
  multifile_reader reader = open_traces(options.stem);
  trace_record record;
  while (reader.next_record_or_end(record)) {
    progress.add(binary_size_of(record));
    if (lets_through(options.filter, record)) std::cout << printer.print(record);
    if (!std::cout) break;
    reader.release_texts();
  }
  std::cout.flush();
  return is_whole(files, find_gap(options.stem, files.count), reader, options.stem);
}
