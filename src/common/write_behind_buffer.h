#pragma once

#include <array>
#include <cstddef>
#include <future>
#include <memory>
#include <streambuf>
#include <string>

/// The buffer of a stream that writes a file: large blocks, each but the last one written by another thread
/// while the next one is filled. They are written in order, and all of them when the buffer is destroyed; a
/// program that is killed before leaves out the last two. What is behind a block that could not be written
/// whole is lost.
class write_behind_buffer : public std::streambuf {
 public:
  /// Opens `path` for writing; an existing file is emptied. Throws `std::bad_alloc`.
  explicit write_behind_buffer(const std::string& path);
  write_behind_buffer(const write_behind_buffer&) = delete;
  write_behind_buffer& operator=(const write_behind_buffer&) = delete;
  ~write_behind_buffer() override;

  /// False when the file could not be opened; nothing may be written then.
  [[nodiscard]] bool is_open() const { return file_ >= 0; }

 protected:
  int_type overflow(int_type letter) override;

 private:
  static constexpr std::size_t block_bytes = std::size_t{1} << 20;

  bool finish_block();
  static bool write_all(int file, const char* bytes, std::size_t size_bytes);

  int file_;
  /// The block that is filled and the one that is written.
  std::array<std::unique_ptr<char[]>, 2> blocks_{std::make_unique_for_overwrite<char[]>(block_bytes),
                                                 std::make_unique_for_overwrite<char[]>(block_bytes)};
  /// Whether the block before the current one was written.
  std::future<bool> written_;
  bool has_failed_ = false;
};
