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
#include <cstring>
#include <utility>

#include "common/run_aside.h"

namespace {

/// What a short run has to write only to cut it off again.
constexpr std::uint64_t first_window_bytes = std::uint64_t{256} * 1024;
/// Below 1 MiB the hand-over between the threads shows; above it only the memory grows.
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

#ifdef __x86_64__
bool can_store_together() {
  static const bool has_avx = __builtin_cpu_supports("avx") != 0;
  return has_avx;
}

// A kill takes effect between two instructions that leave the processor in different cycles. So all blocks of
// 32 bytes are in registers before the first store, and a chain of multiplications, which begins with the
// last block to arrive and whose result nobody uses, keeps the stores from leaving until all of them are
// ready: then they leave together. Assembly, because no compiler may come in between. Both addresses are
// multiples of 32, since a block that lies across two pages takes its time.

#define STORE_TOGETHER(to, from, blocks_behind_the_first)                                                   \
  asm volatile(                                                                                             \
      "vmovdqa (%1), %%ymm0\n vmovdqa %%ymm0, %%ymm8\n"                                                     \
      ".irp block, " blocks_behind_the_first                                                                \
      "\n vmovdqa 32*\\block(%1), %%ymm\\block\n .endr\n"                                                   \
      ".irp block, " blocks_behind_the_first                                                                \
      "\n vxorps %%ymm\\block, %%ymm8, %%ymm8\n .endr\n"                                                    \
      "vmovq %%xmm8, %%rax\n .rept 12\n imul %%rax, %%rax\n .endr\n vmovdqa %%ymm0, (%0)\n"                 \
      ".irp block, " blocks_behind_the_first "\n vmovdqa %%ymm\\block, 32*\\block(%0)\n .endr\n vzeroupper" \
      :                                                                                                     \
      : "r"(to), "r"(from)                                                                                  \
      : "memory", "cc", "rax", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8",      \
        "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15")

void store_4_together(char* to, const char* from) { STORE_TOGETHER(to, from, "1, 2, 3"); }
void store_8_together(char* to, const char* from) { STORE_TOGETHER(to, from, "1, 2, 3, 4, 5, 6, 7"); }
#else
bool can_store_together() { return false; }
void store_4_together(char* to, const char* from) { std::memcpy(to, from, 128); }
void store_8_together(char* to, const char* from) { std::memcpy(to, from, 256); }
#endif

/// A page fault of the last page of a line that ends at `end`, if there is to be one, comes before the line
/// and not within it.
void touch_end(char* end) { const_cast<volatile char*>(end)[-1] = '\n'; }

}  // namespace

line_file::line_file(const std::string& path)
    : file_(open_output(path)), populate_advice_(is_open() ? populate_advice(file_) : 0) {}

bool line_file::is_at(const std::string& path) const {
  struct stat own {};
  struct stat other {};
  return ::fstat(file_, &own) == 0 && ::stat(path.c_str(), &other) == 0 && own.st_dev == other.st_dev &&
         own.st_ino == other.st_ino;
}

void line_file::write_plain(std::string_view text) {
  if (window_.bytes != nullptr) {
    write_line(text);
  } else {
    write_through(text);
  }
}

void line_file::write_line(std::string_view line) {
  if (line.empty() || !is_open()) return;
  if (line.size() <= place_bytes) {
    char* const start = place();
    std::memcpy(start, line.data(), line.size());
    write_placed(start + line.size());
  } else if (has_room(line.size() + image_bytes) || make_room(line.size() + image_bytes)) {
    char* const start = window_.bytes + (length_ - window_.begin);
    touch_end(start + line.size());
    std::memcpy(start, line.data(), line.size());
    length_ += line.size();
    load_lead();
  } else {
    write_through(line);
  }
}

// This is the only place, with the copy of a long line above, where the file can hold a part of a line for an
// instant.
void line_file::write_placed(const char* end) {
  const std::string_view line(place(), end);
  if (!is_open()) return;
  if (!has_room(image_bytes) && !make_room(image_bytes)) return write_through(line);
  char* const blocks = window_.bytes + (length_ - lead() - window_.begin);
  const std::size_t used_bytes = lead() + line.size();
  if (can_store_together()) {
    std::memset(image_.data() + used_bytes, '\n', 4 * block_bytes);
    touch_end(blocks + used_bytes);
    if (used_bytes <= 4 * block_bytes) {
      store_4_together(blocks, image_.data());
    } else {
      store_8_together(blocks, image_.data());
    }
  } else {
    touch_end(blocks + used_bytes);
    std::memcpy(blocks + lead(), line.data(), line.size());
  }
  length_ += line.size();
  // By way of a copy: a short line ends in the block it begins in, which then stays where it is.
  std::array<char, block_bytes> last_block;
  std::memcpy(last_block.data(), image_.data() + used_bytes / block_bytes * block_bytes, block_bytes);
  std::memcpy(image_.data(), last_block.data(), block_bytes);
}

void line_file::close() {
  if (!is_open()) return;
  drop_window();
  ::close(file_);
  file_ = -1;
}

bool line_file::make_room(std::size_t size_bytes) {
  if (populate_advice_ != 0 && move_window(size_bytes)) return true;
  populate_advice_ = 0;
  drop_window();
  return false;
}

bool line_file::move_window(std::size_t size_bytes) {
  const bool is_first = window_.bytes == nullptr;
  std::uint64_t file_end = is_first ? length_ : window_.end;
  if (next_window_.valid()) {
    const window next = next_window_.get();
    if (next.bytes == nullptr) return false;
    if (next.begin <= length_ && length_ + size_bytes <= next.end) {
      make_next_window(std::exchange(window_, next));
      load_lead();
      return true;
    }
    file_end = next.end;
    unmap(next);
  }
  const std::uint64_t begin = length_ / page_bytes * page_bytes;
  const std::uint64_t pages = (length_ + size_bytes - begin + page_bytes - 1) / page_bytes;
  const std::uint64_t usual_bytes = is_first ? first_window_bytes : window_bytes;
  const std::uint64_t end = std::max(begin + std::max(usual_bytes, pages * page_bytes), file_end);
  window_ = make_window(file_, populate_advice_, window_, begin, file_end, end);
  if (window_.bytes == nullptr) return false;
  if (!is_first) make_next_window({});
  load_lead();
  return true;
}

/// Maps the part of `file` from `begin` to `end` after unmapping `old`. Up to `newlines_from` the file is
/// there.
line_file::window line_file::make_window(int file, int advice, const window& old, std::uint64_t begin,
                                         std::uint64_t newlines_from, std::uint64_t end) {
  unmap(old);
  // Writing the newlines takes the blocks before they are mapped, and the file never ends in anything else
  // (blocks that are merely reserved read as zeros until they are filled).
  if (!append_newlines(file, newlines_from, end)) return {};
  void* const mapped =
      ::mmap(nullptr, end - begin, PROT_READ | PROT_WRITE, MAP_SHARED, file, static_cast<off_t>(begin));
  if (mapped == MAP_FAILED) return {};
  const window made{static_cast<char*>(mapped), begin, end};
  // All pages at once cost less than a fault for each. Kernels before 5.14 do not know the request.
  if (::madvise(mapped, end - begin, advice) == 0 || errno == EINVAL) return made;
  unmap(made);
  return {};
}

void line_file::unmap(const window& old) {
  if (old.bytes != nullptr) ::munmap(old.bytes, old.end - old.begin);
}

/// Has the window behind the current one made. It overlaps by a page, in which the text of the current one
/// will end. Without another thread it is made when it is asked for.
void line_file::make_next_window(const window& old) {
  next_window_ = run_aside(make_window, file_, populate_advice_, old, window_.end - page_bytes, window_.end,
                           window_.end + window_bytes);
}

/// Takes what the file holds of the next line's first block into the image, where the line itself may stand
/// already.
void line_file::load_lead() {
  std::memcpy(image_.data(), window_.bytes + (length_ - lead() - window_.begin), lead());
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
      close();
    }
  }
}

void line_file::drop_window() {
  if (next_window_.valid()) unmap(next_window_.get());
  unmap(std::exchange(window_, {}));
  // Pipes and devices refuse both calls, and have no tail to lose.
  if (::ftruncate(file_, static_cast<off_t>(length_)) == 0) {
    ::lseek(file_, static_cast<off_t>(length_), SEEK_SET);
  }
}
