#include "traceml/line_file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>

namespace {

/// What a short run has to write only to cut it off again.
constexpr std::uint64_t first_window_bytes = std::uint64_t{256} * 1024;
constexpr std::uint64_t window_bytes = std::uint64_t{1024} * 1024;

const auto page_bytes = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));

/// Opens the output for reading too, which a shared mapping needs. A pipe or device, and a file that may only
/// be written, is opened for writing alone; a named pipe then waits for its reader.
int open_output(const std::string& path) {
  constexpr int flags = O_CREAT | O_TRUNC | O_CLOEXEC;
  struct stat found {};
  const bool is_special = ::stat(path.c_str(), &found) == 0 && !S_ISREG(found.st_mode);
  const int file = is_special ? -1 : ::open(path.c_str(), O_RDWR | flags, 0666);
  return file >= 0 ? file : ::open(path.c_str(), O_WRONLY | flags, 0666);
}

/// The advice by which the kernel maps all pages of a window at once, 0 when `file` is not to be mapped. A
/// byte that was written once must be storable again without new room on the disk: file systems that write
/// elsewhere (btrfs, zfs, f2fs) or are not known could answer a store with SIGBUS. Those in memory need no
/// note of the first store to a page, so that it is enough, and costs half, to map the pages as for reading.
int populate_advice(int file) {
  struct stat kind {};
  struct statfs system {};
  if (::fstat(file, &kind) != 0 || !S_ISREG(kind.st_mode) || ::fstatfs(file, &system) != 0) return 0;
  if (system.f_type == TMPFS_MAGIC) return MADV_POPULATE_READ;
  constexpr std::array on_disk = {EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, OVERLAYFS_SUPER_MAGIC};
  return std::ranges::find(on_disk, system.f_type) != on_disk.end() ? MADV_POPULATE_WRITE : 0;
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
    : file_(open_output(path)),
      is_whole_(is_open()),
      populate_advice_(is_open() ? populate_advice(file_) : 0) {}

void line_file::write_plain(std::string_view text) {
  if (window_ != nullptr) {
    write_line(text);
  } else {
    write_through(text);
  }
}

void line_file::write_line(std::string_view line) {
  if (!is_open()) return;
  if (!has_room(line.size()) && !move_window(line.size())) return write_through(line);
  std::memcpy(window_ + (length_ - window_begin_), line.data(), line.size());
  // No line is begun before the one in front of it is whole.
  std::atomic_signal_fence(std::memory_order_seq_cst);
  length_ += line.size();
}

bool line_file::close() {
  if (is_open()) {
    unmap_window();
    cut_to_length();
    if (::close(file_) != 0) is_whole_ = false;
    file_ = -1;
  }
  return is_whole_;
}

/// Maps the part of the file in which the next `size_bytes` bytes have room; false when that is not to be
/// had, now and from then on.
bool line_file::move_window(std::size_t size_bytes) {
  if (populate_advice_ == 0) return false;
  const std::uint64_t begin = length_ / page_bytes * page_bytes;
  const std::uint64_t pages = (length_ + size_bytes - begin + page_bytes - 1) / page_bytes;
  const std::uint64_t usual_bytes = window_ == nullptr ? first_window_bytes : window_bytes;
  const std::uint64_t end = std::max(begin + std::max(usual_bytes, pages * page_bytes), window_end_);
  // Writing the newlines takes the blocks before they are mapped, and the file never ends in anything else
  // (blocks that are merely reserved read as zeros until they are filled).
  const bool has_newlines = append_newlines(file_, std::max(length_, window_end_), end);
  unmap_window();
  if (has_newlines && map_window(begin, end)) return true;
  populate_advice_ = 0;
  cut_to_length();
  return false;
}

bool line_file::map_window(std::uint64_t begin, std::uint64_t end) {
  void* const mapped =
      ::mmap(nullptr, end - begin, PROT_READ | PROT_WRITE, MAP_SHARED, file_, static_cast<off_t>(begin));
  if (mapped == MAP_FAILED) return false;
  window_ = static_cast<char*>(mapped);
  window_begin_ = begin;
  window_end_ = end;
  // All pages at once cost less than a fault for each. Kernels before 5.14 do not know the request.
  if (::madvise(mapped, end - begin, populate_advice_) == 0 || errno == EINVAL) return true;
  unmap_window();
  return false;
}

void line_file::unmap_window() {
  if (window_ != nullptr) ::munmap(window_, window_end_ - window_begin_);
  window_ = nullptr;
  window_begin_ = 0;
  window_end_ = 0;
}

void line_file::write_through(std::string_view text) {
  constexpr std::size_t most_bytes = std::size_t{1} << 30;  // one call takes little more
  const std::uint64_t begin = length_;
  while (is_open() && !text.empty()) {
    const std::string_view piece = text.substr(0, most_bytes);
    if (::write(file_, piece.data(), piece.size()) == static_cast<ssize_t>(piece.size())) {
      length_ += piece.size();
      text.remove_prefix(piece.size());
    } else {
      length_ = begin;
      is_whole_ = false;
      close();
    }
  }
}

/// Pipes and devices refuse both calls, and have no tail to lose.
void line_file::cut_to_length() {
  if (::ftruncate(file_, static_cast<off_t>(length_)) == 0) {
    ::lseek(file_, static_cast<off_t>(length_), SEEK_SET);
  }
}
