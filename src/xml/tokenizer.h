#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>

namespace xml {

class bounded_text;

/// Splits a file into the tokens of the XML subset that trace files use. Owns the file. Characters are signed
/// bytes: 0xFF is taken for the end of the input, and nothing behind it is ever looked at.
class tokenizer {
 public:
  /// What next_token() found.
  enum token : int {
    end_of_input = -1,   ///< the end, or characters that are no token
    quoted_string = 34,  ///< its characters are in the buffer
    equal_sign = 61,
    tag_end = 62,            ///< ">"
    empty_tag_end = 69,      ///< "/>"
    declaration_end = 88,    ///< "?>"
    start_tag = 98,          ///< "<"
    comment = 99,            ///< skipped whole
    end_tag = 101,           ///< "</"
    name = 110,              ///< its characters are in the buffer
    declaration_start = 120  ///< "<?"
  };

  /// Opens the file. When that fails, says so on standard output, and the input is empty.
  explicit tokenizer(const char* file_name);
  tokenizer(const tokenizer&) = delete;
  tokenizer& operator=(const tokenizer&) = delete;

  /// Whether `c` only separates tokens: everything outside the visible ASCII characters, except the end.
  static constexpr bool is_whitespace(int c) { return (c < 33 || c > 126) && c != end_of_input; }

  /// Takes the next character that is no white space, or yields the end.
  int next_char();

  /// Skips white space and returns the character behind it without taking it.
  int look_ahead();

  /// Takes the next token and returns its code. The characters of a name or string go to `buffer`,
  /// zero-terminated; those that do not fit into `size` bytes are dropped. "/" does not end a name.
  int next_token(char* buffer, int size);

  // Quick ways for what nearly all of a trace is made of. They take what is there when it is just the usual,
  // and else nothing, so that the tokens decide.

  /// Takes a name of up to `most_bytes` characters and the ">" right behind it. Returns the name, borrowed
  /// until the next call, or nothing.
  std::string_view take_plain_start_tag(std::size_t most_bytes);

  /// Takes a text of up to `most_bytes` characters without markup and the end tag of `tag_name` right behind
  /// it. Returns the text, borrowed until the next call, or nothing.
  std::optional<std::string_view> take_plain_content(std::string_view tag_name, std::size_t most_bytes);

  /// Takes `tag_name` and the ">" right behind it; false when something else is there.
  bool take_rest_of_end_tag(std::string_view tag_name);

  /// Takes the content of an element, markup included, up to the "</" of its own end tag, or up to the end.
  /// Keeps `size` - 2 characters, and says once on standard output when there are more.
  void get_text(char* buffer, int size);

  /// Closes the file and frees the window; from here on the input is at its end.
  void close();

 private:
  struct file_closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  /// The character `distance` (at most 2) behind the next one. There must be no end before it.
  int peek(std::ptrdiff_t distance = 0) {
    while (end_ - next_ <= distance) refill();
    return next_[distance];
  }
  void refill();
  [[nodiscard]] int read_block();
  /// Where `tag_name` and ">" end that stand at `start`; null when they do not.
  [[nodiscard]] const signed char* find_end_behind(const signed char* start, std::string_view tag_name) const;
  template <unsigned char stop>
  void take_until(bounded_text& text);
  void take_one(bounded_text& text);
  void take_quoted(bounded_text& text);
  int take_token_behind_less_than();

  std::unique_ptr<std::FILE, file_closer> file_;
  std::unique_ptr<signed char[]> buffer_;
  const signed char* next_ = nullptr;  ///< the next character to take
  const signed char* end_ = nullptr;   ///< behind the last character read
};

}  // namespace xml
