#include "recorder/trace_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <string>
#include <string_view>

#include "recorder/uncancelled.h"

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
    pthread_sigmask(SIG_SETMASK, &signals_, nullptr);
    errno = errno_;
  }

  void note_error(int error) { exceeded_limit_ = error == EFBIG; }

 private:
  const uncancelled guard_;
  const int errno_;
  sigset_t signals_;
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
  undisturbed guard;
  // The process may end at any moment, and nobody is to find the file before its header is in it.
  const std::string unnamed = path + ".new" + std::to_string(getpid());
  error_ = write_at_end(unnamed, O_CREAT | O_TRUNC);
  const bool is_linked = error_ == 0 && link(unnamed.c_str(), path.c_str()) == 0;
  if (error_ == 0 && !is_linked && errno == EEXIST) error_ = EEXIST;
  unlink(unnamed.c_str());
  // Some file systems have no links.
  if (error_ == 0 && !is_linked) error_ = write_at_end(path, O_CREAT | O_EXCL);
  guard.note_error(error_);
  return take_written(replaced_bytes);
}

bool trace_file::write_block(std::size_t replaced_bytes) {
  undisturbed guard;
  error_ = write_at_end(path_, 0);
  guard.note_error(error_);
  return take_written(replaced_bytes);
}

int trace_file::write_at_end(const std::string& path, int open_flags) const {
  const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC | open_flags, 0666);
  if (file < 0) return errno;
  int error = 0;
  if (has_replaced_bytes_ && ftruncate(file, static_cast<off_t>(size_bytes_)) != 0) error = errno;
  if (error == 0) error = write_all(file, encoder_.view(), size_bytes_);
  // A full disk or quota may show only now.
  if (close(file) != 0 && error == 0 && errno != EINTR) error = errno;
  return error;
}

bool trace_file::take_written(std::size_t replaced_bytes) {
  if (error_ != 0) return false;
  size_bytes_ += encoder_.view().size() - replaced_bytes;
  has_replaced_bytes_ = replaced_bytes > 0;
  encoder_.clear();
  return true;
}

}  // namespace kzr
