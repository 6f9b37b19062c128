#include "recorder/trace_recorder.h"

#include <sched.h>

#include <chrono>
#include <fstream>
#include <system_error>
#include <thread>

#include "recorder/image_list.h"
#include "recorder/run_directory.h"
#include "recorder/trace_file.h"

namespace kzr {
namespace {

constexpr std::uint64_t ticks_per_second = 1'000'000'000;

std::uint64_t get_ticks() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

/// Returns when the clock shows more than `ticks`, so that a later record of any thread has a later time.
void wait_until_after(std::uint64_t ticks) {
  while (get_ticks() <= ticks) {
  }
}

std::uint64_t get_processor() {
  const int number = sched_getcpu();
  return number < 0 ? 0 : static_cast<std::uint64_t>(number);
}

std::uint64_t next_run() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

}  // namespace

/// The trace file of one thread. Only that thread records; any thread may complete the file, once.
class trace_recorder::thread_file {
 public:
  thread_file(trace_form form, const std::string& path, std::atomic<bool>& failed)
      : file_(form, ticks_per_second, std::thread::hardware_concurrency()), failed_(failed) {
    if (!file_.create(path)) failed_ = true;
  }

  /// The encoder, set to the time of the next record.
  trace_encoder& at_this_time() {
    if (file_.has_full_block()) write_block();
    time_ = get_ticks();
    return file_.encoder().at(time_);
  }
  [[nodiscard]] std::uint64_t time_of_last_record() const { return time_; }

  /// Ends the file. The failure flag's recorder must still be there when this is the first call.
  void complete() {
    std::call_once(completed_, [this] {
      file_.encoder().at(get_ticks()).end();
      write_block();
    });
  }

 private:
  void write_block() {
    if (file_.write_block()) return;
    failed_ = true;
    file_.encoder().clear();
  }

  trace_file file_;
  std::uint64_t time_ = 0;
  std::atomic<bool>& failed_;
  std::once_flag completed_;
};

/// The files that a thread records to: one, unless the program has several recorders.
struct trace_recorder::open_files {
  struct entry {
    std::uint64_t run;
    std::shared_ptr<thread_file> file;
  };

  ~open_files() {
    for (const entry& open : entries) open.file->complete();
  }

  std::vector<entry> entries;
};

thread_local trace_recorder::open_files trace_recorder::files_of_this_thread_;

trace_recorder::trace_recorder(trace_form form, const std::filesystem::path& parent)
    : form_(form), run_(next_run()), directory_(std::filesystem::absolute(create_run_directory(parent))) {}

trace_recorder::~trace_recorder() {
  const std::lock_guard guard(lock_);
  for (const std::shared_ptr<thread_file>& file : files_) file->complete();
}

std::uint64_t trace_recorder::domain(std::string_view name) { return define(name, true); }

std::uint64_t trace_recorder::text(std::string_view text) { return define(text, false); }

std::uint64_t trace_recorder::define(std::string_view text, bool is_domain) {
  thread_file& file = local_file();  // takes the lock itself
  const std::lock_guard guard(lock_);
  auto& handles = is_domain ? domains_ : texts_;
  if (const auto known = handles.find(text); known != handles.end()) return known->second;
  const std::uint64_t handle = domains_.size() + texts_.size() + 1;
  handles.emplace(text, handle);
  trace_encoder& encoder = file.at_this_time();
  if (is_domain) {
    encoder.domain(handle, text);
  } else {
    encoder.string_handle(handle, text);
  }
  wait_until_after(file.time_of_last_record());
  return handle;
}

void trace_recorder::write_image_list() {
  std::ofstream list(directory_ / "imageload.csv");
  const std::uint64_t now = get_ticks();
  for (const loaded_image& image : find_loaded_images()) list << describe_image(image, now);
  if (!list.flush()) failed_ = true;
}

object_id trace_recorder::new_id() { return {++last_id_, 0, 0}; }

void trace_recorder::announce(std::uint64_t domain, const object_id& id, const object_id& parent,
                              std::uint64_t kind) {
  thread_file& file = local_file();
  file.at_this_time().task_group(domain, id, parent, kind);
  wait_until_after(file.time_of_last_record());
}

void trace_recorder::relate(std::uint64_t domain, const object_id& head, relation_code code,
                            const object_id& tail) {
  thread_file& file = local_file();
  file.at_this_time().relation(domain, head, code, tail);
  wait_until_after(file.time_of_last_record());
}

void trace_recorder::describe(std::uint64_t domain, const object_id& id, std::uint64_t key,
                              std::string_view value) {
  thread_file& file = local_file();
  file.at_this_time().metadata_string(domain, id, key, value);
  wait_until_after(file.time_of_last_record());
}

void trace_recorder::describe(std::uint64_t domain, const object_id& id, std::uint64_t key,
                              std::uint64_t value) {
  thread_file& file = local_file();
  file.at_this_time().metadata(domain, id, key, value_type::u64, 1, value);
  wait_until_after(file.time_of_last_record());
}

void trace_recorder::begin_task(std::uint64_t domain, const object_id& id, const object_id& parent,
                                std::uint64_t name) {
  local_file().at_this_time().task_begin(domain, id, parent, name, get_processor());
}

void trace_recorder::end_task(std::uint64_t domain) { local_file().at_this_time().task_end(domain); }

void trace_recorder::begin_region(std::uint64_t domain, const object_id& id, const object_id& parent,
                                  std::uint64_t name) {
  local_file().at_this_time().region_begin(domain, id, parent, name);
}

void trace_recorder::end_region(std::uint64_t domain, const object_id& id) {
  local_file().at_this_time().region_end(domain, id);
}

trace_recorder::thread_file& trace_recorder::local_file() {
  std::vector<open_files::entry>& entries = files_of_this_thread_.entries;
  for (const open_files::entry& open : entries) {
    if (open.run == run_) return *open.file;
  }
  entries.push_back({run_, open_file()});
  return *entries.back().file;
}

std::shared_ptr<trace_recorder::thread_file> trace_recorder::open_file() {
  const std::lock_guard guard(lock_);
  const std::filesystem::path path = directory_ / ("_kzr." + std::to_string(files_.size()));
  files_.push_back(std::make_shared<thread_file>(form_, path.string(), failed_));
  return files_.back();
}

}  // namespace kzr
