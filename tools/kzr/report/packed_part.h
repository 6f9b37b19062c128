#pragma once

#include <zlib.h>

#include <string>
#include <string_view>

/// Packs a part of the page as it comes, into one zlib stream. Throws `std::runtime_error` without memory.
class packed_part {
 public:
  packed_part();
  packed_part(const packed_part&) = delete;
  packed_part& operator=(const packed_part&) = delete;
  ~packed_part();

  void append(std::string_view bytes);
  /// Ends the stream and gives it away; nothing more is to be appended.
  [[nodiscard]] std::string finish();

 private:
  void run(int flush);

  z_stream stream_{};
  std::string packed_;
};

/// The same for bytes that are all there.
[[nodiscard]] std::string pack(std::string_view bytes);
