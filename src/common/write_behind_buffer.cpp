#include "common/write_behind_buffer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "common/run_aside.h"

write_behind_buffer::write_behind_buffer(const std::string& path)
    : file_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
  setp(blocks_[0].get(), blocks_[0].get() + block_bytes);
}

write_behind_buffer::~write_behind_buffer() {
  if (!is_open()) return;
  if (finish_block()) write_all(file_, pbase(), static_cast<std::size_t>(pptr() - pbase()));
  ::close(file_);
}

write_behind_buffer::int_type write_behind_buffer::overflow(int_type letter) {
  if (!finish_block()) return traits_type::eof();
  written_ = run_aside(write_all, file_, static_cast<const char*>(pbase()),
                       static_cast<std::size_t>(pptr() - pbase()));
  std::swap(blocks_[0], blocks_[1]);
  setp(blocks_[0].get(), blocks_[0].get() + block_bytes);
  return traits_type::eq_int_type(letter, traits_type::eof()) ? traits_type::not_eof(letter)
                                                              : sputc(traits_type::to_char_type(letter));
}

/// Waits for the block that is being written; false when it or one before it could not be.
bool write_behind_buffer::finish_block() {
  if (written_.valid() && !written_.get()) has_failed_ = true;
  return is_open() && !has_failed_;
}

bool write_behind_buffer::write_all(int file, const char* bytes, std::size_t size_bytes) {
  while (size_bytes > 0) {
    const ssize_t written = ::write(file, bytes, size_bytes);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    size_bytes -= static_cast<std::size_t>(written);
  }
  return true;
}
