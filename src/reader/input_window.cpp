#include "reader/input_window.h"

#include <algorithm>
#include <bit>
#include <utility>

// Numbers are copied as they lie in the file.
static_assert(std::endian::native == std::endian::little);

input_window::input_window(std::FILE* file) : file_(file) {}

void input_window::close() {
  if (file_ != nullptr) std::fclose(file_);
  file_ = nullptr;
}

bool input_window::refill() {
  if (file_ == nullptr) return false;
  fill_from(0);
  return end_ != 0;
}

void input_window::pull_up() {
  if (file_ == nullptr) return;
  const std::size_t left = end_ - next_;
  std::memmove(buffer_.get(), &buffer_[next_], left);
  fill_from(left);
}

/// Reads on behind the first `used_bytes` bytes of the buffer, which are the next ones to hand out.
void input_window::fill_from(std::size_t used_bytes) {
  window_begin_ += next_;
  next_ = 0;
  end_ = used_bytes + std::fread(&buffer_[used_bytes], 1, window_bytes - used_bytes, file_);
  if (end_ < window_bytes) {
    // The end of the file: what is left to read needs neither the file nor a whole window.
    close();
    const auto window = std::exchange(buffer_, std::make_unique_for_overwrite<std::uint8_t[]>(end_));
    std::copy_n(window.get(), end_, buffer_.get());
  }
}

/// Reads what may lie in several windows.
std::size_t input_window::read_on(void* to, std::size_t size_bytes) {
  std::size_t done = 0;
  while (done < size_bytes) {
    if (next_ == end_ && !refill()) break;
    const std::size_t piece = std::min(size_bytes - done, end_ - next_);
    std::memcpy(static_cast<char*>(to) + done, &buffer_[next_], piece);
    next_ += piece;
    done += piece;
  }
  return done;
}
