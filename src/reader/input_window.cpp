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
  next_ = 0;
  end_ = std::fread(buffer_.get(), 1, window_bytes, file_);
  if (end_ < window_bytes) {
    // The end of the file: what is left to read needs neither the file nor a whole window.
    close();
    const auto window = std::exchange(buffer_, std::make_unique_for_overwrite<std::uint8_t[]>(end_));
    std::copy_n(window.get(), end_, buffer_.get());
  }
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
