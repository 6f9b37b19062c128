#include "recorder/trace_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <string_view>

namespace kzr {
namespace {

/// While it is there, no signal handler runs on this thread, it cannot be cancelled, and a write beyond the
/// limit for the size of files is an error of that write and not the end of the program.
class undisturbed {
 public:
  undisturbed() : errno_(errno) {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &signals_);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state_);
  }
  undisturbed(const undisturbed&) = delete;
  undisturbed& operator=(const undisturbed&) = delete;
  ~undisturbed() {
    if (exceeded_limit_) {
      sigset_t limit;
      sigemptyset(&limit);
      sigaddset(&limit, SIGXFSZ);
      const timespec at_once = {};
      sigtimedwait(&limit, nullptr, &at_once);
    }
    pthread_setcancelstate(cancel_state_, nullptr);
    pthread_sigmask(SIG_SETMASK, &signals_, nullptr);
    errno = errno_;
  }

  void note_error(int error) { exceeded_limit_ = error == EFBIG; }

 private:
  const int errno_;
  sigset_t signals_;
  int cancel_state_ = 0;
  bool exceeded_limit_ = false;
};

/// Writes all of `bytes` to `offset`; zero or the number of the error.
int write_all(int file, std::string_view bytes, std::uint64_t offset) {
  while (!bytes.empty()) {
    const ssize_t written = pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (written < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
    offset += static_cast<std::uint64_t>(written);
  }
  return 0;
}

}  // namespace

trace_file::trace_file(trace_form form, std::uint64_t frequency, std::uint64_t concurrency)
    : encoder_(form, frequency, concurrency) {}

bool trace_file::create(const std::string& path, std::size_t replaced_bytes) {
  path_ = path;
  return write_at_end(O_CREAT | O_EXCL, replaced_bytes);
}

bool trace_file::write_block(std::size_t replaced_bytes) { return write_at_end(0, replaced_bytes); }

bool trace_file::write_at_end(int open_flags, std::size_t replaced_bytes) {
  undisturbed guard;
  const std::string_view bytes = encoder_.view();
  const int file = open(path_.c_str(), O_WRONLY | O_CLOEXEC | open_flags, 0666);
  if (file < 0) {
    error_ = errno;
    return false;
  }
  error_ = 0;
  if (has_replaced_bytes_ && ftruncate(file, static_cast<off_t>(size_bytes_)) != 0) error_ = errno;
  if (error_ == 0) error_ = write_all(file, bytes, size_bytes_);
  // A full disk or quota may show only now.
  if (close(file) != 0 && error_ == 0 && errno != EINTR) error_ = errno;
  guard.note_error(error_);
  if (error_ != 0) return false;
  size_bytes_ += bytes.size() - replaced_bytes;
  has_replaced_bytes_ = replaced_bytes > 0;
  encoder_.clear();
  return true;
}

}  // namespace kzr
