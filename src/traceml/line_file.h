#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <future>
#include <string>
#include <string_view>

/// The output file of the timeline. Everything written has reached the operating system when the call
/// returns, whatever happens to the process afterwards; a run that is killed leaves whole lines, then
/// newlines only. First the head with write_plain(), then one write_line() per event, then close() or the
/// destructor. A file that cannot be opened, or cannot grow any more, is not reported: what is written to it
/// is lost.
class line_file {
 public:
  /// No file: everything is a no-op.
  line_file() = default;
  /// Opens `path` for writing; an existing file is emptied.
  explicit line_file(const std::string& path);
  line_file(const line_file&) = delete;
  line_file& operator=(const line_file&) = delete;
  ~line_file() { close(); }

  /// False when the file could not be opened, could not grow, or is closed.
  [[nodiscard]] bool is_open() const { return file_ >= 0; }
  /// Whether it is a file whose parts are mapped, and not a pipe or device.
  [[nodiscard]] bool is_mapped() const { return populate_advice_ != 0; }
  /// Whether `path` leads to the same file, by whatever links.
  [[nodiscard]] bool is_at(const std::string& path) const;

  /// Writes `text` by a system call, which leaves the file at its true length: meant for the head, which an
  /// abort may follow. Once a line was written it is the same as write_line().
  void write_plain(std::string_view text);

  /// Writes one line, complete with its newline, of any length: into the mapped window, or by a system call
  /// where mapping is not to be had. A line for which there is no room is left out whole and closes the file.
  void write_line(std::string_view line);

  /// Where the next line can be put together, up to `place_bytes` of it, so that write_placed() need not copy
  /// it there. Valid until the next call of any other operation.
  static constexpr std::size_t place_bytes = 224;
  [[nodiscard]] char* place() { return image_.data() + lead(); }

  /// The same as write_line() for the line between place() and `end`, which must not be empty.
  void write_placed(const char* end);

  /// Cuts the file to its true length and closes it. Once closed, everything is a no-op.
  void close();

 private:
  static constexpr std::size_t block_bytes = 32;
  static constexpr std::size_t image_bytes = 8 * block_bytes;

  /// How many bytes of the file belong to the block in which the next line begins.
  [[nodiscard]] std::size_t lead() const { return length_ % block_bytes; }

  /// A part of the file that is mapped, in file offsets; nothing when `bytes` is null.
  struct window {
    char* bytes = nullptr;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
  };

  static window make_window(int file, int advice, const window& old, std::uint64_t begin,
                            std::uint64_t newlines_from, std::uint64_t end);
  static void unmap(const window& old);

  [[nodiscard]] bool has_room(std::size_t size_bytes) const {
    return window_.bytes != nullptr && length_ + size_bytes <= window_.end;
  }
  bool make_room(std::size_t size_bytes);
  bool move_window(std::size_t size_bytes);
  void make_next_window(const window& old);
  void load_lead();
  void write_through(std::string_view text);
  void drop_window();

  int file_ = -1;
  int populate_advice_ = 0;   // 0 when the file is not mapped
  std::uint64_t length_ = 0;  // true length of the file; all bytes behind it are newlines
  window window_;
  /// The window behind that one, which another thread makes meanwhile, once a run is long enough for a second
  /// one. The file ends where the last window does.
  std::future<window> next_window_;
  /// The blocks of the next line as they will stand in the window: the end of the line before, the line, and
  /// newlines.
  alignas(block_bytes) std::array<char, image_bytes + 4 * block_bytes> image_;
};
