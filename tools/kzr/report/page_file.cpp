#include "kzr/report/page_file.h"

#include "driver/conversion.h"
#include "kzr/common/output_file.h"
#include "kzr/report/page_writer.h"
#include "kzr/report/run_report.h"

std::string default_page_path(const run_report& report) { return report.name + ".html"; }

page_detail write_page_file(const run_report& report, const std::string& path, std::uint64_t max_mebibytes) {
  ignore_output_signals();
  output_file file(path);
  const page_detail detail =
      write_page(report, max_mebibytes << 20, [&file](std::string_view bytes) { file.write(bytes); });
  file.finish();
  return detail;
}
