#pragma once

#include <zlib.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

class output_watch;

/// Thrown where an output cannot be written, with the system's reason.
class output_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The reason that the number of a system error stands for.
[[nodiscard]] output_error system_error_as_output_error(int number);

/// Takes the bytes of an output in their order. What is written is safe with the system only when close()
/// came back.
class byte_sink {
 public:
  byte_sink() = default;
  byte_sink(const byte_sink&) = delete;
  byte_sink& operator=(const byte_sink&) = delete;
  virtual ~byte_sink() = default;

  /// Pieces of any size. Throws `output_error`, and `interruption`.
  virtual void write(std::string_view bytes) = 0;
  /// Hands over what is still held back. Throws the same.
  virtual void close() = 0;
};

/// A file, pipe or device.
class file_sink : public byte_sink {
 public:
  /// Opens `path`, which is made, or emptied; borrows `watch`. Throws `output_error`.
  file_sink(const std::string& path, output_watch& watch);
  /// Takes over an open file.
  file_sink(int file, output_watch& watch);
  ~file_sink() override;

  void write(std::string_view bytes) override;
  void close() override;

 private:
  void flush();

  int file_;
  output_watch& watch_;
  std::string held_;
};

/// Compresses what is on its way to another sink, as gzip does, without a name and time.
class gzip_sink : public byte_sink {
 public:
  /// Borrows `target`, which its owner closes behind this one.
  explicit gzip_sink(byte_sink& target);
  ~gzip_sink() override;

  void write(std::string_view bytes) override { deflate_all(bytes, Z_NO_FLUSH); }
  void close() override;

 private:
  void deflate_all(std::string_view bytes, int mode);

  byte_sink& target_;
  z_stream stream_{};
};
