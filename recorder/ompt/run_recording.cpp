#include "recorder/ompt/run_recording.h"

#include <linux/membarrier.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <string>
#include <system_error>
#include <thread>

#include "recorder/ompt/thread_recording.h"
#include "recorder/run_directory.h"
#include "recorder/uncancelled.h"

namespace kzr {
namespace {

namespace fs = std::filesystem;

/// How long `finish` waits for a thread that is about to write to a disk that does not answer.
constexpr std::chrono::seconds longest_wait_for_thread{5};

// The library is loaded before the program's threads record, so its thread-local data is where all threads
// have it at hand.
[[gnu::tls_model("initial-exec")]] thread_local thread_recording* this_thread = nullptr;

pthread_key_t end_of_thread;

int process_barrier(int command) { return static_cast<int>(syscall(SYS_membarrier, command, 0, 0)); }

/// Whether `process_barrier` can take over what a thread would have to do at each event.
bool register_process_barrier() {
#ifdef __SANITIZE_THREAD__
  return false;  // it sees no barrier that the threads do not carry out themselves
#else
  return process_barrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) == 0;
#endif
}

std::string message_of(int error) { return std::generic_category().message(error); }

}  // namespace

run_recording& get_run() {
  alignas(run_recording) static std::array<std::byte, sizeof(run_recording)> memory;
  static run_recording* const run = new (memory.data()) run_recording;
  return *run;
}

void run_recording::prepare(std::uint64_t runtime_address) {
  if (state_ != state::unprepared) return;
  process_ = getpid();
  runtime_address_ = runtime_address;
  std::error_code failure;
  current_directory_ = fs::current_path(failure);
  const char* const wanted = std::getenv("KZR_RECORD_DIRECTORY");
  if (wanted != nullptr && *wanted != '\0') wanted_directory_ = path_with_name(current_directory_ / wanted);
  has_process_barrier_ = register_process_barrier();
  pthread_key_create(&end_of_thread,
                     [](void* thread) { get_run().end_thread(*static_cast<thread_recording*>(thread)); });
  pthread_atfork(nullptr, nullptr, [] { get_run().leave_to_parent(); });
  state_ = state::open;
}

thread_recording* run_recording::enter() {
  thread_recording* const thread = this_thread;
  if (thread == nullptr) [[unlikely]]
    return enter_first();
  return enter_again();
}

thread_recording* run_recording::enter_again() {
  thread_recording* const thread = this_thread;
  if (thread == nullptr || thread->is_busy.load(std::memory_order_relaxed)) return nullptr;
  // Either `finish` sees that the thread is busy or the thread sees that `finish` is at work.
  state seen = state::off;
  if (has_process_barrier_) {
    thread->is_busy.store(true, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    seen = state_.load(std::memory_order_acquire);
  } else {
    thread->is_busy.exchange(true);
    seen = state_.load();
  }
  if (seen == state::open) [[likely]]
    return thread;
  return enter_slowly(*thread) ? thread : nullptr;
}

bool run_recording::enter_slowly(thread_recording& thread) {
  const uncancelled cancel_guard;
  while (true) {
    const state seen = state_.load();
    if (seen != state::paused) {
      const bool records = seen == state::open || seen == state::finished;
      if (!records) thread.is_busy = false;
      return records;
    }
    thread.is_busy = false;
    std::this_thread::sleep_for(std::chrono::microseconds(50));
    thread.is_busy = true;
  }
}

thread_recording* run_recording::enter_first() {
  const state seen = state_.load();
  if (seen == state::off || seen == state::unprepared) return nullptr;
  const uncancelled cancel_guard;
  thread_recording* thread = nullptr;
  {
    const std::lock_guard guard(lock_);
    if (unused_threads_.empty()) {
      threads_.push_back(std::make_unique<thread_recording>(*this));
      thread = threads_.back().get();
    } else {
      thread = unused_threads_.back();
      unused_threads_.pop_back();
      thread->is_busy = true;
    }
    const int error = file_count_ == 0 ? start(*thread) : open_file(*thread);
    if (error != 0) {
      stop(message_of(error));
      return nullptr;
    }
  }
  this_thread = thread;
  pthread_setspecific(end_of_thread, thread);
  return enter_slowly(*thread) ? thread : nullptr;
}

int run_recording::open_file(thread_recording& thread) {
  const int error = thread.open(directory_ / ("_kzr." + std::to_string(file_count_)), file_count_);
  if (error == 0) ++file_count_;
  return error;
}

int run_recording::start(thread_recording& thread) {
  directory_ = wanted_directory_.empty() ? create_run_directory(current_directory_) : wanted_directory_;
  // The runtime's own handler was there before, so this one is called earlier. Some programs do not survive
  // the other one, since their threads still use the runtime.
  std::atexit([] { get_run().finish(false); });
  // Whichever process makes the first file has the directory.
  fs::create_directories(directory_);
  int error = open_file(thread);
  for (unsigned number = 2; error == EEXIST; ++number) {
    directory_ = wanted_directory_.string() + '.' + std::to_string(number);
    // What is there already may be anything, and nobody asked for a recording in it.
    error = mkdir(directory_.c_str(), 0777) == 0 ? open_file(thread) : errno;
  }
  if (error != 0) return error;
  sites_.start(runtime_address_, [this](const std::string& lines) {
    // Readers find the old list or the new one.
    const fs::path next = directory_ / "imageload.csv.new";
    std::ofstream(next) << lines;
    std::error_code failure;
    fs::rename(next, directory_ / "imageload.csv", failure);
  });
  return 0;
}

void run_recording::leave(thread_recording& thread) {
  const state seen = state_.load(std::memory_order_acquire);
  int error = 0;
  if (seen == state::open || seen == state::paused) [[likely]] {
    error = thread.write_when_due();
  } else if (seen == state::finished) {
    error = thread.write_completed();
  }
  if (error != 0) stop(message_of(error));
  thread.is_busy.store(false, std::memory_order_release);
}

bool run_recording::wait_until_idle(const thread_recording& thread) const {
  const auto end = std::chrono::steady_clock::now() + longest_wait_for_thread;
  while (thread.is_busy.load(std::memory_order_acquire)) {
    if (&thread == this_thread) return true;  // a signal handler that ends the process came in between
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  return true;
}

void run_recording::finish(bool is_last) {
  const state before = state_.load();
  if ((before != state::open && before != state::finished) || getpid() != process_) return;
  const uncancelled cancel_guard;
  const std::unique_lock guard(finish_lock_, std::try_to_lock);
  if (!guard.owns_lock()) return;  // another thread ends the process as well
  state_ = state::paused;
  if (has_process_barrier_) process_barrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
  // A thread that is not among these finds the state as it is now.
  std::vector<thread_recording*> threads;
  {
    const std::lock_guard list_guard(lock_);
    for (const auto& thread : threads_) threads.push_back(thread.get());
  }
  int error = 0;
  for (thread_recording* const thread : threads) {
    if (wait_until_idle(*thread) && thread->is_open() && error == 0) error = thread->write_completed();
  }
  state paused = state::paused;
  state_.compare_exchange_strong(paused, is_last ? state::finished : before);
  if (error != 0) stop(message_of(error));
}

void run_recording::complete_this_thread() {
  thread_recording* const thread = enter_again();
  if (thread == nullptr) return;
  const int error = thread->write_completed();
  if (error != 0) stop(message_of(error));
  thread->is_busy.store(false, std::memory_order_release);
}

void run_recording::end_thread(thread_recording& thread) {
  this_thread = &thread;
  if (enter_again() == nullptr) return;
  const int error = thread.write_completed();
  if (error != 0) stop(message_of(error));
  thread.close();
  this_thread = nullptr;
  const std::lock_guard guard(lock_);
  thread.is_busy = false;
  unused_threads_.push_back(&thread);
}

void run_recording::stop(const std::string& reason) noexcept {
  if (state_.exchange(state::off) == state::off) return;
  const uncancelled cancel_guard;
  try {
    const std::string place = directory_.empty() ? "" : " in " + directory_.string();
    const std::string message = "kzr: the recording" + place + " ends here: " + reason + '\n';
    if (write(STDERR_FILENO, message.data(), message.size()) < 0) return;
  } catch (const std::bad_alloc&) {
    return;
  }
}

}  // namespace kzr
