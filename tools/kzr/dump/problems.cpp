#include "kzr/dump/problems.h"

#include <algorithm>
#include <filesystem>

#include "kzr/common/run_option.h"
#include "kzr/dump/run_summary.h"

namespace {

/// "1 record", "2 records".
std::string count_of(std::uint64_t count, const std::string& thing) {
  return std::to_string(count) + ' ' + thing + (count == 1 ? "" : "s");
}

class problem_list {
 public:
  explicit problem_list(const run_summary& run) : run_(run) {}

  std::vector<std::string> collect() {
    for (const file_survey& file : run_.files) look_at(file);
    look_at_numbering();
    look_at_run();
    for (const auto& [producer, tasks] : run_.tasks) look_at(producer, tasks);
    for (const auto& [message, count] : run_.warnings) {
      add("warning: " + message + " (" + std::to_string(count) + ')');
    }
    return std::move(problems_);
  }

 private:
  void add(std::string problem) { problems_.push_back(std::move(problem)); }

  void look_at(const file_survey& file) {
    const std::string name = std::filesystem::path(file.path).filename().string() + ": ";
    if (file.ending != file_ending::closed) add(name + describe_ending(file));
    if (file.unread_bytes > 0) add(name + count_of(file.unread_bytes, "byte") + " behind the end record");
    if (file.unread_records > 0)
      add(name + count_of(file.unread_records, "record") + " behind the end record");
    if (file.backward_steps > 0) {
      add(name + count_of(file.backward_steps, "record") + " with an earlier time than the one before");
    }
    if (file.cut_texts > 0) add(name + count_of(file.cut_texts, "text") + " too long and cut");
    if (has_other_header(run_, file)) {
      add(name + file.frequency + " ticks per second and " + file.concurrency +
          " hardware threads, where the run has " + run_.frequency + " and " + run_.concurrency);
    }
  }

  void look_at_numbering() {
    if (run_.unopened_files > 0) {
      add(count_of(run_.unopened_files, "file") + " left out, because no more may be open at the same time");
    }
    if (run_.is_missing()) return add(explain_missing_run(run_.stem));
    if (run_.gap.unread.empty()) return;
    add("the list of files ends at number " + std::to_string(run_.gap.missing) + ", but there " +
        (run_.gap.unread.size() == 1 ? "is " : "are ") + count_of(run_.gap.unread.size(), "file") +
        " with a greater one, up to " + std::to_string(run_.gap.unread.back()));
  }

  void look_at_run() {
    if (!run_.converter_end.empty() && !run_.is_missing())
      add("kzr2xml would end itself while " + run_.converter_end);
    if (run_.first_timestamp && !run_.duration_seconds) {
      add("the frequency \"" + run_.frequency + "\" is no number of ticks per second");
    }
  }

  void look_at(int producer, const thread_tasks& tasks) {
    const std::string thread = "thread " + std::to_string(producer) + ": ";
    if (tasks.unmatched_begins > 0) add(thread + count_of(tasks.unmatched_begins, "task") + " without end");
    if (tasks.unmatched_ends > 0) add(thread + count_of(tasks.unmatched_ends, "task end") + " without task");
  }

  const run_summary& run_;
  std::vector<std::string> problems_;
};

}  // namespace

std::vector<std::string> find_problems(const run_summary& run) { return problem_list(run).collect(); }

bool has_other_header(const run_summary& run, const file_survey& file) {
  const auto first = std::find_if(run.files.begin(), run.files.end(),
                                  [](const file_survey& other) { return is_usable(other.ending); });
  return is_usable(file.ending) &&
         (file.frequency != first->frequency || file.concurrency != first->concurrency);
}

std::string describe_ending(const file_survey& file) {
  std::string text = name_of(file.ending);
  if (!file.reason.empty()) text += ": " + file.reason;
  if (file.damaged_byte) text += " at byte " + std::to_string(*file.damaged_byte);
  if (file.damaged_record) text += " at record " + std::to_string(*file.damaged_record);
  return text;
}
