#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>

/// A small buffer that moves along an open file: the only place where bytes of a binary trace file are taken
/// from, so that nothing can read past the end. Owns the file and closes it as soon as its last bytes are in
/// the buffer, so that small files take no place among the open ones.
class input_window {
 public:
  /// Takes over `file`, positioned at the first byte to read.
  explicit input_window(std::FILE* file);
  input_window(const input_window&) = delete;
  input_window& operator=(const input_window&) = delete;
  ~input_window() { close(); }

  /// The next `size_bytes` bytes, at most 4096, without taking them; fewer when the file ends before. Valid
  /// until the next call.
  std::span<const std::uint8_t> look_ahead(std::size_t size_bytes) {
    if (end_ - next_ < size_bytes) pull_up();
    return {&buffer_[next_], std::min(size_bytes, end_ - next_)};
  }

  /// How many bytes were taken so far.
  [[nodiscard]] std::uint64_t taken_bytes() const { return window_begin_ + next_; }

  /// Reads one byte; false at the end of the file.
  bool read_byte(std::uint8_t& byte) {
    if (next_ == end_ && !refill()) return false;
    byte = buffer_[next_++];
    return true;
  }

  /// Reads up to `size_bytes` bytes to `to`; returns how many there were.
  std::size_t read_bytes(void* to, std::size_t size_bytes) {
    if (end_ - next_ < size_bytes) return read_on(to, size_bytes);
    std::memcpy(to, &buffer_[next_], size_bytes);
    next_ += size_bytes;
    return size_bytes;
  }

 private:
  std::size_t read_on(void* to, std::size_t size_bytes);
  bool refill();
  void pull_up();
  void fill_from(std::size_t used_bytes);
  void close();

  static constexpr std::size_t window_bytes = 8 * 1024;

  std::FILE* file_;
  std::unique_ptr<std::uint8_t[]> buffer_ = std::make_unique_for_overwrite<std::uint8_t[]>(window_bytes);
  std::uint64_t window_begin_ = 0;  ///< position of the buffer's first byte
  std::size_t next_ = 0;
  std::size_t end_ = 0;
};
