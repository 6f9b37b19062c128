#include "kzr/output/byte_sink.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <new>
#include <system_error>

#include "kzr/output/output_watch.h"

namespace {

constexpr std::size_t held_bytes = std::size_t{256} * 1024;

int open_for_writing(const std::string& path) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) throw system_error_as_output_error(errno);
  return file;
}

}  // namespace

output_error system_error_as_output_error(int number) {
  return output_error(std::generic_category().message(number));
}

file_sink::file_sink(const std::string& path, output_watch& watch)
    : file_sink(open_for_writing(path), watch) {}

file_sink::file_sink(int file, output_watch& watch) : file_(file), watch_(watch) {
  held_.reserve(held_bytes);
}

file_sink::~file_sink() {
  if (file_ >= 0) ::close(file_);
}

void file_sink::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view piece = bytes.substr(0, held_bytes - held_.size());
    held_ += piece;
    bytes.remove_prefix(piece.size());
    if (held_.size() == held_bytes) flush();
  }
}

void file_sink::flush() {
  std::string_view left = held_;
  while (!left.empty()) {
    const ssize_t written = ::write(file_, left.data(), left.size());
    if (written < 0 && errno != EINTR) throw system_error_as_output_error(errno);
    const auto done = static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    left.remove_prefix(done);
    watch_.advance(done);
  }
  held_.clear();
}

void file_sink::close() {
  flush();
  const int file = file_;
  file_ = -1;
  // Systems with a disk elsewhere tell only here that it is full.
  if (::close(file) != 0) throw system_error_as_output_error(errno);
}

gzip_sink::gzip_sink(byte_sink& target) : target_(target) {
  constexpr int gzip_window_bits = 15 + 16;
  constexpr int default_memory_level = 8;
  if (deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzip_window_bits, default_memory_level,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::bad_alloc();
  }
}

gzip_sink::~gzip_sink() { deflateEnd(&stream_); }

void gzip_sink::close() { deflate_all({}, Z_FINISH); }

void gzip_sink::deflate_all(std::string_view bytes, int mode) {
  std::array<char, std::size_t{32} * 1024> room;
  do {
    const std::string_view piece = bytes.substr(0, std::numeric_limits<uInt>::max());
    bytes.remove_prefix(piece.size());
    // The library takes the bytes as they are, its interface has no const.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
    stream_.avail_in = static_cast<uInt>(piece.size());
    do {
      stream_.next_out = reinterpret_cast<Bytef*>(room.data());
      stream_.avail_out = static_cast<uInt>(room.size());
      deflate(&stream_, mode);
      target_.write({room.data(), room.size() - stream_.avail_out});
    } while (stream_.avail_out == 0);
  } while (!bytes.empty());
}
