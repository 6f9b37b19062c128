#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// What is known of bytes that are to be packed: whether it is worth the time to look for what comes again.
enum class repetition : std::uint8_t { likely, unlikely };

/// Packs a part of the page as it comes, into one zlib stream. Throws `std::runtime_error` without memory.
class packed_part {
 public:
  packed_part();
  packed_part(const packed_part&) = delete;
  packed_part& operator=(const packed_part&) = delete;
  ~packed_part();

  void append(std::string_view bytes);
  /// Appends bytes that are unlike those before: many of them are counted anew, which packs them better.
  void append_other(std::string_view bytes, repetition repeats);
  /// How many bytes were appended.
  [[nodiscard]] std::size_t size() const { return size_; }
  /// Ends the stream and gives it away; nothing more is to be appended.
  [[nodiscard]] std::string finish();

 private:
  void run(int flush);

  z_stream stream_{};
  std::size_t size_ = 0;
  repetition repeats_ = repetition::likely;
  std::string packed_;
};

/// The same for bytes that are all there.
[[nodiscard]] std::string pack(std::string_view bytes);
