#include "kzr/export/speedscope_export.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "analysis/thread_lines.h"
#include "common/text_buffer.h"
#include "kzr/common/utf8.h"
#include "kzr/export/exported_run.h"
#include "kzr/export/nanosecond_clock.h"
#include "kzr/output/byte_sink.h"
#include "kzr/output/output_watch.h"
#include "kzr/report/run_report.h"

namespace {

constexpr std::uint64_t most_executions = 1'000'000;

std::string json_text(std::string_view text) { return nlohmann::json(valid_utf8(text)).dump(); }

/// Writes the object piece by piece: as a tree it would take many times the memory of the run.
class speedscope_writer {
 public:
  speedscope_writer(const exported_run& run, byte_sink& out)
      : report_(run.report), clock_(report_, run.watch), out_(out), frames_(report_.nodes.size()) {}

  void write() {
    line_ += R"({"$schema":"https://www.speedscope.app/file-format-schema.json","exporter":"kzr )" KZR_VERSION
             R"(","name":)";
    line_ += json_text(report_.name);
    line_ += R"(,"shared":{"frames":[)";
    write_frames();
    line_ += R"(]},"profiles":[)";
    bool is_first = true;
    for (const thread_figures& thread : report_.figures.threads) {
      line_ += is_first ? "\n" : ",\n";
      is_first = false;
      write_profile(thread.thread);
    }
    line_ += "]}\n";
    write_line();
  }

 private:
  void write_frames() {
    std::uint32_t count = 0;
    for (std::uint32_t node = 0; node < report_.nodes.size(); ++node) {
      if (!report_.has_run[node]) continue;
      line_ += count == 0 ? "\n{\"name\":" : ",\n{\"name\":";
      line_ += json_text(report_.name_of(node));
      line_ += '}';
      frames_[node] = count++;
      write_line();
    }
  }

  void write_profile(int thread) {
    line_ += R"({"type":"evented","name":"thread )";
    line_.append_number(thread);
    line_ += R"(","unit":"nanoseconds","startValue":0,"endValue":)";
    line_.append_number(clock_.at(report_.marks.last_time()));
    line_ += R"(,"events":[)";
    bool is_first = true;
    for (thread_lines lines(report_.executions, thread); lines.next();) {
      line_ += is_first ? "\n" : ",\n";
      is_first = false;
      line_ += lines.is_begin() ? R"({"type":"O","frame":)" : R"({"type":"C","frame":)";
      line_.append_number(frames_[report_.executions.node_of(lines.execution())]);
      line_ += ",\"at\":";
      line_.append_number(clock_.at(lines.time()));
      line_ += '}';
      write_line();
    }
    line_ += "]}";
  }

  void write_line() {
    out_.write(line_);
    line_.clear();
  }

  const run_report& report_;
  nanosecond_clock clock_;
  byte_sink& out_;
  std::vector<std::uint32_t> frames_;  ///< by node
  text_buffer line_;
};

}  // namespace

void write_speedscope(const exported_run& run, byte_sink& out) {
  const std::uint32_t count = run.report.executions.size();
  if (count > most_executions) {
    run.watch.warn("the run has " + std::to_string(count) +
                   " executions; above a million speedscope may not open it");
  }
  if (count == 0) run.watch.warn("nothing ran; speedscope shows no file without a profile");
  speedscope_writer(run, out).write();
}
