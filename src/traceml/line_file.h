#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The output file of the timeline. Everything written has reached the operating system when the call
/// returns, whatever happens to the process afterwards: a run that is killed leaves whole lines, then
/// newlines only. First the head with write_plain(), then one write_line() per event, then close() or the
/// destructor. A file that cannot be opened, or that cannot grow any more, is not reported: what is written
/// is lost.
class line_file {
 public:
  /// Opens `path` for writing, an existing file is emptied.
  explicit line_file(const std::string& path);
  line_file(const line_file&) = delete;
  line_file& operator=(const line_file&) = delete;
  ~line_file() { close(); }

  /// False once the file is closed, could not be opened, or could not grow.
  [[nodiscard]] bool is_open() const { return file_ >= 0; }

  /// Writes `text` as a write of its own, which leaves the file at its true length; meant for the head, since
  /// the run may end by an abort right after it. Behind the first line it is written like a line.
  void write_plain(std::string_view text);

  /// Writes one line, complete with its newline: into the mapped window where there is one, otherwise as a
  /// write of its own. A line that does not fit on the disk is left out as a whole and closes the file.
  void write_line(std::string_view line) {
    if (line.size() > window_end_ - length_ && !make_room(line.size())) {
      write_through(line);
      return;
    }
    // One copy of the finished line: these few stores are the only instant at which the file holds part of a
    // line, and no system call and no page fault lies between them.
    line.copy(window_ + (length_ - window_begin_), line.size());
    length_ += line.size();
  }

  /// Cuts the file to its true length and closes it. A second call does nothing.
  void close();

 private:
  bool make_room(std::size_t size_bytes);
  bool move_window(std::size_t size_bytes);
  void write_through(std::string_view text);
  void unmap_window();
  void drop_window();

  int file_ = -1;
  bool mappable_ = false;
  /// Bytes of real content. The window's bytes behind it are newlines. Without a window, window_end_ equals
  /// it.
  std::uint64_t length_ = 0;
  /// The mapped bytes of the file: [window_begin_, window_end_), which is also where the file ends.
  std::uint64_t window_begin_ = 0;
  std::uint64_t window_end_ = 0;
  char* window_ = nullptr;
};
