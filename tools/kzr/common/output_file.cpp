#include "kzr/common/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr std::array ending_signals = {SIGHUP, SIGINT, SIGTERM};

/// The path of the one file that is being written; handlers of signals see nothing else.
std::array<char, 4096> unfinished_path;

void remove_and_end(int signal) {
  unlink(unfinished_path.data());
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void remove_on_signals(const std::string& path) {
  if (path.size() >= unfinished_path.size()) return;
  std::memcpy(unfinished_path.data(), path.c_str(), path.size() + 1);
  for (const int signal : ending_signals) {
    // Who started the program may have told it to pass over some.
    if (std::signal(signal, remove_and_end) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

void keep_on_signals() {
  for (const int signal : ending_signals) {
    if (std::signal(signal, SIG_DFL) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

mode_t usual_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

output_file::output_file(std::string path) : path_(std::move(path)) {
  std::error_code ignored;
  const fs::file_status status = fs::status(path_, ignored);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    descriptor_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
  } else {
    open_beside();
  }
  if (descriptor_ < 0) fail();
}

void output_file::open_beside() {
  std::error_code ignored;
  // A link stays one.
  const fs::path place =
      fs::is_symlink(path_, ignored) ? fs::weakly_canonical(path_, ignored) : fs::path(path_);
  if (access(path_.c_str(), W_OK) != 0 && errno != ENOENT) return;
  std::string beside = place.string() + ".XXXXXX";
  descriptor_ = mkostemp(beside.data(), O_CLOEXEC);
  if (descriptor_ < 0) return;
  path_ = place;
  unfinished_ = beside;
  remove_on_signals(unfinished_);
  fchmod(descriptor_, usual_mode());
}

output_file::~output_file() {
  if (descriptor_ >= 0) close(descriptor_);
  if (unfinished_.empty()) return;
  unlink(unfinished_.c_str());
  keep_on_signals();
}

void output_file::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail();
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void output_file::finish() {
  const int descriptor = std::exchange(descriptor_, -1);
  if (close(descriptor) != 0) fail();
  if (unfinished_.empty()) return;
  if (std::rename(unfinished_.c_str(), path_.c_str()) != 0) fail();
  unfinished_.clear();
  keep_on_signals();
}

void output_file::fail() const {
  throw std::runtime_error(path_ + " cannot be written: " + std::strerror(errno));
}
