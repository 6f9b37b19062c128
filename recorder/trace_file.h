#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "recorder/trace_encoder.h"

namespace kzr {

/// The trace file of one thread on disk, written in blocks. Only one thread at a time may use it.
///
/// Between blocks the file is not open, so a run takes no file descriptors from the recorded program, and a
/// program that closes descriptors which it did not open does no harm. Writing is no cancellation point, no
/// signal handler runs in the midst of it, and the program's `errno` stays as it was.
class trace_file {
 public:
  /// A block is written when it has grown beyond this.
  static constexpr std::size_t block_bytes = std::size_t{256} * 1024;

  /// `frequency` is in ticks per second.
  trace_file(trace_form form, std::uint64_t frequency, std::uint64_t concurrency);

  /// Makes the file, which must not be there, with what the encoder holds in it, at least the header: it is
  /// there with all of that or, on a file system with links, not at all. Otherwise as `write_block`. False,
  /// with error(), when the system refuses.
  [[nodiscard]] bool create(const std::string& path, std::size_t replaced_bytes = 0);

  /// Takes the records of the next block; the header is there from the start.
  [[nodiscard]] trace_encoder& encoder() { return encoder_; }
  [[nodiscard]] bool has_full_block() const { return encoder_.view().size() >= block_bytes; }

  /// Writes what the encoder holds and empties it. What comes next takes the place of the last
  /// `replaced_bytes`. False, with error(), when not everything could be written: of a binary file what is
  /// there then is readable up to the last record that went through.
  [[nodiscard]] bool write_block(std::size_t replaced_bytes = 0);

  /// Number of the system's error that made `create` or `write_block` fail.
  [[nodiscard]] int error() const { return error_; }

 private:
  /// Writes what the encoder holds to the end of the file; zero or the number of the system's error.
  [[nodiscard]] int write_at_end(const std::string& path, int open_flags) const;
  /// Goes on to the next block if there was no error.
  [[nodiscard]] bool take_written(std::size_t replaced_bytes);

  trace_encoder encoder_;
  std::string path_;
  std::uint64_t size_bytes_ = 0;  ///< without what is to be replaced
  bool has_replaced_bytes_ = false;
  int error_ = 0;
};

}  // namespace kzr
