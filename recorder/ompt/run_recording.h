#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "recorder/ompt/code_sites.h"

namespace kzr {

class thread_recording;

/// The recording of this process: a directory, made when the first record comes, and the recordings of its
/// threads. It is never destroyed, since threads may record until the process is gone.
///
/// A thread records between `enter` and `leave`. Neither takes a lock nor enters the system, but for the
/// first record of a thread and full blocks. `finish` stops the threads for a moment to complete their files;
/// from then on each event is written at once, with what completes the file behind it.
class run_recording {
 public:
  /// Reads the environment. `runtime_address` is in the OpenMP runtime's image. Nothing is recorded before.
  void prepare(std::uint64_t runtime_address);

  /// The recording of the calling thread, made when this is its first record, to be given back by `leave`.
  /// Null when nothing is to be recorded (any more), or for a signal handler that came in between.
  [[nodiscard]] thread_recording* enter();
  /// The same for an event that ends something: null also when the thread recorded nothing yet.
  [[nodiscard]] thread_recording* enter_again();
  void leave(thread_recording& thread);

  /// Completes all files as they are now. What comes later is added to them: at once, event by event, when
  /// this `is_last`, as nothing will tell of the end of the process any more.
  void finish(bool is_last);
  /// The same for the file of the calling thread.
  void complete_this_thread();
  /// Completes the file of a thread that ends, and frees what it holds for another one.
  void end_thread(thread_recording& thread);

  /// Gives the recording up, with a message that says why. Does nothing when it was given up before.
  void stop(const std::string& reason) noexcept;
  /// The process is a copy of the one that records, which it does not disturb.
  void leave_to_parent() noexcept { state_ = state::off; }

  [[nodiscard]] code_sites& sites() { return sites_; }
  /// Identifiers for objects, in a row of `count`; the first of them.
  [[nodiscard]] std::uint64_t take_ids(std::uint64_t count) { return next_id_.fetch_add(count); }

 private:
  enum class state : int {
    unprepared,
    open,
    paused,    ///< `finish` is at work
    finished,  ///< each event is written at once
    off,
  };

  [[nodiscard]] thread_recording* enter_first();
  [[nodiscard]] bool enter_slowly(thread_recording& thread);
  /// Takes the directory of the run, with the file of its first thread.
  [[nodiscard]] int start(thread_recording& thread);
  [[nodiscard]] int open_file(thread_recording& thread);
  [[nodiscard]] bool wait_until_idle(const thread_recording& thread) const;

  std::atomic<state> state_ = state::unprepared;
  bool has_process_barrier_ = false;
  pid_t process_ = 0;
  std::uint64_t runtime_address_ = 0;
  std::filesystem::path wanted_directory_;  ///< empty for one named after the time
  std::filesystem::path current_directory_;
  std::atomic<std::uint64_t> next_id_ = 2;  ///< the graph has the first one
  code_sites sites_;

  std::mutex finish_lock_;  ///< held by `finish`
  std::mutex lock_;         ///< for the members below
  std::filesystem::path directory_;
  std::vector<std::unique_ptr<thread_recording>> threads_;
  std::vector<thread_recording*> unused_threads_;
  std::uint64_t file_count_ = 0;
};

/// The one of this process.
[[nodiscard]] run_recording& get_run();

}  // namespace kzr
