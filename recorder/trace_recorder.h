#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "recorder/trace_encoder.h"

namespace kzr {

/// With it a program records itself: one trace file per recording thread, times in nanoseconds of the steady
/// clock. Any thread may call any method at any time. The first record of a thread opens its file under a
/// lock; from then on recording takes no lock. A thread's file is completed when the thread ends.
///
/// What one thread defines or announces (`domain`, `text`, `announce`, `relate`, `describe`) is recorded
/// earlier than whatever another thread does after it learnt of it.
///
/// The recorder must outlive every call; destroying it completes the files of the threads that still run.
class trace_recorder {
 public:
  /// Records below `parent`, in a new directory named after the local time. Throws
  /// std::filesystem::filesystem_error when it cannot be made.
  explicit trace_recorder(trace_form form = trace_form::binary, const std::filesystem::path& parent = ".");
  trace_recorder(const trace_recorder&) = delete;
  trace_recorder& operator=(const trace_recorder&) = delete;
  ~trace_recorder();

  /// Where the trace files are, as an absolute path.
  [[nodiscard]] const std::filesystem::path& directory() const { return directory_; }
  /// True when some file lacks records because the system refused to open or write it.
  [[nodiscard]] bool failed() const { return failed_.load(); }

  /// The handle of a domain or text, defined by a record when asked for first. Takes a lock: ask once, keep
  /// it.
  std::uint64_t domain(std::string_view name);
  std::uint64_t text(std::string_view text);

  /// Writes the list of the loaded program images beside the trace files, so that code addresses can be told
  /// by image and offset. Images that are loaded later are not in it.
  void write_image_list();

  /// An identifier whose first word no other object of this run has; the other words are the caller's to
  /// number what belongs together.
  object_id new_id();

  /// A graph, node, port, region or implicit task comes into being; `kind` is the handle of its kind's text.
  void announce(std::uint64_t domain, const object_id& id, const object_id& parent, std::uint64_t kind);
  /// What `head` is to `tail`.
  void relate(std::uint64_t domain, const object_id& head, relation_code code, const object_id& tail);
  /// A text or number about an object, `key` being the handle that says which.
  void describe(std::uint64_t domain, const object_id& id, std::uint64_t key, std::string_view value);
  void describe(std::uint64_t domain, const object_id& id, std::uint64_t key, std::uint64_t value);

  /// This thread begins a task, and ends the one it began last. The processor's number is recorded as well.
  void begin_task(std::uint64_t domain, const object_id& id, const object_id& parent, std::uint64_t name);
  void end_task(std::uint64_t domain);
  /// A region of `id` within `parent` begins, and ends.
  void begin_region(std::uint64_t domain, const object_id& id, const object_id& parent, std::uint64_t name);
  void end_region(std::uint64_t domain, const object_id& id);

 private:
  class thread_file;
  struct open_files;

  /// The calling thread's file, opened when this is the thread's first record.
  thread_file& local_file();
  std::shared_ptr<thread_file> open_file();
  std::uint64_t define(std::string_view text, bool is_domain);

  static thread_local open_files files_of_this_thread_;

  const trace_form form_;
  const std::uint64_t run_;  ///< tells recorders apart, also those that lived at the same address
  std::filesystem::path directory_;
  std::atomic<bool> failed_ = false;
  std::atomic<std::uint64_t> last_id_ = 0;
  std::mutex lock_;  ///< for the members below
  std::vector<std::shared_ptr<thread_file>> files_;
  std::map<std::string, std::uint64_t, std::less<>> domains_;
  std::map<std::string, std::uint64_t, std::less<>> texts_;
};

}  // namespace kzr
