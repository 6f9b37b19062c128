#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The output file of the timeline. Whatever ends the process, all lines before the one being copied are
/// whole and belong to the system: the file then ends in newlines only. A kill in the middle of a copy may
/// cut that line. First the head with write_plain(), then one write_line() per event, then close() or the
/// destructor. What is written to a file that cannot be opened, or cannot grow any more, is lost; close()
/// tells.
class line_file {
 public:
  /// Opens `path` for writing; an existing file is emptied.
  explicit line_file(const std::string& path);
  line_file(const line_file&) = delete;
  line_file& operator=(const line_file&) = delete;
  ~line_file() { close(); }

  /// False when the file could not be opened, could not grow, or is closed.
  [[nodiscard]] bool is_open() const { return file_ >= 0; }

  /// Writes `text` by a system call, which leaves the file at its true length: meant for the head, which an
  /// abort may follow. Once a line was written it is the same as write_line().
  void write_plain(std::string_view text);

  /// Writes one line, complete with its newline, of any length: into the mapped window, or by a system call
  /// where mapping is not to be had. A line for which there is no room is left out whole and closes the file.
  void write_line(std::string_view line);

  /// Cuts the file to its true length and closes it. Once closed, everything is a no-op. False when something
  /// that was written is lost.
  bool close();

 private:
  [[nodiscard]] bool has_room(std::size_t size_bytes) const { return length_ + size_bytes <= window_end_; }
  [[nodiscard]] bool move_window(std::size_t size_bytes);
  [[nodiscard]] bool map_window(std::uint64_t begin, std::uint64_t end);
  void unmap_window();
  void write_through(std::string_view text);
  void cut_to_length();

  int file_ = -1;
  bool is_whole_ = true;
  int populate_advice_ = 0;   ///< 0 when the file is not mapped
  std::uint64_t length_ = 0;  ///< true length of the file; all bytes behind it are newlines
  /// The part of the file that is mapped, in file offsets; nothing while `window_` is null.
  char* window_ = nullptr;
  std::uint64_t window_begin_ = 0;
  std::uint64_t window_end_ = 0;
};
