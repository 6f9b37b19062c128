#include "reader/input_window.h"

#include <algorithm>
#include <bit>

// Numbers are copied as they lie in the file.
static_assert(std::endian::native == std::endian::little);

input_window::input_window(std::FILE* file) : file_(file) {}

input_window::~input_window() { std::fclose(file_); }

bool input_window::refill() {
  next_ = 0;
  end_ = std::fread(buffer_.get(), 1, window_bytes, file_);
  return end_ != 0;
}

std::size_t input_window::read_bytes(void* to, std::size_t size_bytes) {
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
