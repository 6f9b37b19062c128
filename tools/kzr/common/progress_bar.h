#pragma once

#include <chrono>
#include <cstdint>

/// Shows on a terminal how much is read or written, from the program's second second on. Silent when standard
/// error is no terminal. The line goes with the object.
class progress_bar {
 public:
  /// `total_bytes` is what there is to do, 0 where nobody knows. `may_show` is false when something else
  /// fills the terminal.
  explicit progress_bar(std::uint64_t total_bytes, bool may_show = true);
  progress_bar(const progress_bar&) = delete;
  progress_bar& operator=(const progress_bar&) = delete;
  ~progress_bar();

  /// Says in front of the bar what goes on, as "writing the timeline".
  void tell(const char* what) {
    what_ = what;
    if (is_drawn_) due_ = {};  // what stands there is no longer true
    if (may_show_) draw_when_due();
  }

  /// Notes that `bytes` more are done. Looks at the clock now and then only.
  void add(std::uint64_t bytes) {
    read_bytes_ += bytes;
    if (!may_show_ || (++calls_ < calls_per_look && read_bytes_ - looked_at_bytes_ < bytes_per_look)) return;
    calls_ = 0;
    looked_at_bytes_ = read_bytes_;
    draw_when_due();
  }

 private:
  void draw_when_due();

  static constexpr std::uint64_t calls_per_look = 4096;
  static constexpr std::uint64_t bytes_per_look = 1 << 20;

  const char* what_ = "";
  std::uint64_t total_bytes_;
  bool may_show_;
  std::uint64_t read_bytes_ = 0;
  // When the clock was looked at last, and since then.
  std::uint64_t looked_at_bytes_ = 0;
  std::uint64_t calls_ = 0;
  bool is_drawn_ = false;
  std::chrono::steady_clock::time_point due_;
};
