#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// A message of protocol buffers in its binary form, put together field by field.
class protobuf_message {
 public:
  /// A number or enum.
  void add(unsigned field, std::uint64_t number) {
    append_varint(std::uint64_t{field} << kind_bits);
    append_varint(number);
  }
  /// A text or a message.
  void add(unsigned field, std::string_view bytes) {
    append_varint(std::uint64_t{field} << kind_bits | length_delimited);
    append_varint(bytes.size());
    bytes_ += bytes;
  }
  void add(unsigned field, const protobuf_message& message) { add(field, message.bytes()); }

  void clear() { bytes_.clear(); }
  /// Valid until the message changes.
  [[nodiscard]] std::string_view bytes() const { return bytes_; }

 private:
  static constexpr unsigned kind_bits = 3;
  static constexpr unsigned length_delimited = 2;

  /// Seven bits a byte, the lowest first; the eighth one says that there are more.
  void append_varint(std::uint64_t number) {
    for (; number >= 0x80; number >>= 7U) bytes_ += static_cast<char>(number | 0x80U);
    bytes_ += static_cast<char>(number);
  }

  std::string bytes_;
};
