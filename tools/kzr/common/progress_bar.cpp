#include "kzr/common/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace {
constexpr std::chrono::milliseconds first_wait{1000};
constexpr std::chrono::milliseconds wait{100};
constexpr std::size_t width = 40;
constexpr double megabyte = 1e6;

const std::chrono::steady_clock::time_point start_of_program = std::chrono::steady_clock::now();
}  // namespace

progress_bar::progress_bar(std::uint64_t total_bytes, bool may_show)
    : total_bytes_(total_bytes),
      may_show_(may_show && isatty(STDERR_FILENO) != 0),
      due_(start_of_program + first_wait) {}

progress_bar::~progress_bar() {
  if (is_drawn_) std::fputs("\r\x1b[K", stderr);
}

void progress_bar::draw_when_due() {
  const auto now = std::chrono::steady_clock::now();
  if (now < due_) return;
  due_ = now + wait;
  is_drawn_ = true;
  if (read_bytes_ == 0) {
    std::fprintf(stderr, "\r%s\x1b[K", what_);
    return;
  }
  if (total_bytes_ == 0) {
    std::fprintf(stderr, "\r%s, %.0f MB\x1b[K", what_, static_cast<double>(read_bytes_) / megabyte);
    return;
  }
  const double share = std::min(1.0, static_cast<double>(read_bytes_) / static_cast<double>(total_bytes_));
  std::string bar(width, ' ');
  std::fill_n(bar.begin(), static_cast<std::size_t>(share * width), '#');
  std::fprintf(stderr, "\r%s%s[%s] %3.0f %%, %.0f of %.0f MB\x1b[K", what_, *what_ == '\0' ? "" : " ",
               bar.c_str(), 100 * share, static_cast<double>(std::min(read_bytes_, total_bytes_)) / megabyte,
               static_cast<double>(total_bytes_) / megabyte);
}
