#include "traceml/line_file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace {

/// Below 256 KiB the system calls for moving the window show; above it only the memory grows.
constexpr std::uint64_t window_bytes = std::uint64_t{256} * 1024;

/// Opens the output for reading too, which a shared mapping needs. A pipe or device, and a file that may only
/// be written, is opened for writing alone: a pipe then waits for its reader.
int open_output(const std::string& path) {
  constexpr int flags = O_CREAT | O_TRUNC | O_CLOEXEC;
  struct stat found {};
  const bool is_special = ::stat(path.c_str(), &found) == 0 && !S_ISREG(found.st_mode);
  const int file = is_special ? -1 : ::open(path.c_str(), O_RDWR | flags, 0666);
  return file >= 0 ? file : ::open(path.c_str(), O_WRONLY | flags, 0666);
}

/// Whether a byte of `file` that was written once can be stored to again without new room on the disk. Where
/// file systems write elsewhere (btrfs, zfs, f2fs), or where nothing is known, a store could end in SIGBUS.
bool keeps_blocks_in_place(int file) {
  struct stat kind {};
  struct statfs system {};
  if (::fstat(file, &kind) != 0 || !S_ISREG(kind.st_mode) || ::fstatfs(file, &system) != 0) return false;
  constexpr std::array known = {EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, TMPFS_MAGIC, OVERLAYFS_SUPER_MAGIC};
  return std::find(known.begin(), known.end(), static_cast<int>(system.f_type)) != known.end();
}

/// Lengthens `file` from `from` to `to` bytes; false when the disk is full or the file may not grow that far.
bool append_newlines(int file, std::uint64_t from, std::uint64_t to) {
  static const std::string newlines(std::size_t{16} * 1024, '\n');
  while (from < to) {
    const std::size_t piece = std::min<std::uint64_t>(newlines.size(), to - from);
    const ssize_t written = ::pwrite(file, newlines.data(), piece, static_cast<off_t>(from));
    if (written != static_cast<ssize_t>(piece)) return false;
    from += piece;
  }
  return true;
}

}  // namespace

line_file::line_file(const std::string& path)
    : file_(open_output(path)), mappable_(is_open() && keeps_blocks_in_place(file_)) {}

void line_file::close() {
  if (!is_open()) return;
  drop_window();
  ::close(file_);
  file_ = -1;
}

void line_file::write_plain(std::string_view text) {
  if (window_ != nullptr) {
    write_line(text);
  } else {
    write_through(text);
  }
}

bool line_file::make_room(std::size_t size_bytes) {
  mappable_ = mappable_ && move_window(size_bytes);
  if (!mappable_) drop_window();
  return mappable_;
}

bool line_file::move_window(std::size_t size_bytes) {
  static const auto page_bytes = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
  const std::uint64_t begin = length_ / page_bytes * page_bytes;
  const std::uint64_t pages = (length_ + size_bytes - begin + page_bytes - 1) / page_bytes;
  const std::uint64_t end = begin + std::max(window_bytes, pages * page_bytes);
  // Writing the newlines takes the blocks before they are mapped, and the file never ends in anything else
  // (blocks that are merely reserved read as zeros until they are filled).
  if (!append_newlines(file_, window_end_, end)) return false;
  unmap_window();
  window_begin_ = begin;
  window_end_ = end;
  void* const mapped =
      ::mmap(nullptr, end - begin, PROT_READ | PROT_WRITE, MAP_SHARED, file_, static_cast<off_t>(begin));
  if (mapped == MAP_FAILED) return false;
  window_ = static_cast<char*>(mapped);
  // All pages at once, so that no page fault comes in the middle of a line, and at a fifth less time. A
  // kernel that does not know the request (before 5.14) maps them one by one.
  return ::madvise(window_, end - begin, MADV_POPULATE_WRITE) == 0 || errno == EINVAL;
}

void line_file::write_through(std::string_view text) {
  const std::uint64_t begin = length_;
  while (is_open() && !text.empty()) {
    const std::string_view piece = text.substr(0, std::size_t{1} << 30);
    if (::write(file_, piece.data(), piece.size()) != static_cast<ssize_t>(piece.size())) {
      length_ = window_end_ = begin;
      close();
      return;
    }
    length_ = window_end_ = length_ + piece.size();
    text.remove_prefix(piece.size());
  }
}

void line_file::unmap_window() {
  if (window_ != nullptr) ::munmap(window_, window_end_ - window_begin_);
  window_ = nullptr;
}

void line_file::drop_window() {
  unmap_window();
  window_end_ = length_;
  // Only a file that was mapped has a tail to lose; pipes and devices refuse both calls.
  if (::ftruncate(file_, static_cast<off_t>(length_)) == 0) {
    ::lseek(file_, static_cast<off_t>(length_), SEEK_SET);
  }
}
