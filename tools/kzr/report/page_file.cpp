#include "kzr/report/page_file.h"

#include "kzr/output/run_output.h"
#include "kzr/report/page_writer.h"
#include "kzr/report/run_report.h"

std::string default_page_path(const std::string& stem) { return name_of_run(stem) + ".html"; }

std::optional<page_detail> write_page_file(const run_report& report, const run_output& output,
                                           std::uint64_t max_mebibytes) {
  page_detail detail;
  const bool is_written = output.tell_failure_of([&] {
    output_watch watch;
    output.write_stream(watch,
                        [&](byte_sink& out) { detail = write_page(report, max_mebibytes << 20, out); });
  });
  if (!is_written) return std::nullopt;
  return detail;
}
