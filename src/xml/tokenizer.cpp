#include "xml/tokenizer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iostream>
#include <utility>

#include "xml/bounded_text.h"

namespace xml {
namespace {

constexpr std::size_t block_bytes = 64 * 1024;
// Up to two characters that were looked at are carried in front of the next block, and the one behind them.
constexpr std::size_t carried_bytes = 3;
constexpr signed char end_character = -1;

// Where a run of characters stops; the end stops every run.
constexpr unsigned char stops_name = 1;
constexpr unsigned char stops_string = 2;
constexpr unsigned char stops_text = 4;
constexpr unsigned char stops_c_text = 8;

constexpr std::array<unsigned char, 256> make_stops() {
  std::array<unsigned char, 256> stops{};
  for (int byte = 0; byte < 256; ++byte) {
    const int c = static_cast<signed char>(byte);
    unsigned char& s = stops[static_cast<std::size_t>(byte)];
    if (tokenizer::is_whitespace(c) || c == '=' || c == '>' || c == '?' || c == end_character)
      s |= stops_name;
    if (c == '"' || c == '\\' || c == end_character) s |= stops_string;
    if (c == '<' || c == '/' || c == end_character) s |= stops_text;
    if (c == '\0') s |= stops_c_text;
  }
  return stops;
}
constexpr std::array<unsigned char, 256> stops = make_stops();

template <unsigned char stop>
bool is_stop(signed char c) {
  return (stops[static_cast<unsigned char>(c)] & stop) != 0;
}

template <unsigned char stop>
const signed char* find_stop(const signed char* from, const signed char* to) {
  while (from != to && !is_stop<stop>(*from)) ++from;
  return from;
}

/// Whether a name starts with `c`, which is every character that does not start another token.
bool starts_name(int c) {
  switch (c) {
    case '"':
    case '=':
    case '>':
    case '/':
    case '?':
    case '<':
    case '!':
    case end_character:
      return false;
    default:
      return !tokenizer::is_whitespace(c);
  }
}

}  // namespace

tokenizer::tokenizer(const char* file_name) : file_(std::fopen(file_name, "r")) {
  if (!file_) {
    std::cout << "ERROR: Could not open " << file_name << std::endl;
    close();
    return;
  }
  // Blocks go straight into the window, so the stream needs no buffer of its own.
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  buffer_ = std::make_unique_for_overwrite<signed char[]>(carried_bytes + block_bytes);
}

void tokenizer::close() {
  file_.reset();
  buffer_.reset();
  // The end is never taken, so a window that stands on it never asks for more.
  next_ = &end_character;
  end_ = next_ + 1;
}

/// Reads the next block behind the room for carried characters; returns its first character, which counts as
/// taken from it, or the end.
int tokenizer::read_block() {
  signed char* const block = buffer_.get() + carried_bytes;
  const std::size_t count = std::fread(block, 1, block_bytes, file_.get());
  if (count == 0) return end_of_input;
  next_ = block + 1;
  end_ = block + count;
  return block[0];
}

void tokenizer::refill() {
  std::array<signed char, carried_bytes - 1> carried{};
  const std::size_t carried_count = std::min(static_cast<std::size_t>(end_ - next_), carried.size());
  std::copy_n(next_, carried_count, carried.begin());
  next_ = end_ = buffer_.get() + carried_bytes;
  const int c = read_block();
  signed char* front = buffer_.get() + (next_ - buffer_.get());
  *--front = static_cast<signed char>(c);
  front -= carried_count;
  std::copy_n(carried.begin(), carried_count, front);
  next_ = front;
}

template <unsigned char stop>
void tokenizer::take_until(bounded_text& text) {
  while ((next_ = text.take_until(next_, end_, is_stop<stop>)) == end_) refill();
}

void tokenizer::take_one(bounded_text& text) {
  peek();
  next_ = text.take_until(next_, next_ + 1, [](signed char) { return false; });
}

int tokenizer::look_ahead() {
  while (is_whitespace(peek())) ++next_;
  return *next_;
}

int tokenizer::next_char() {
  const int c = look_ahead();
  if (c != end_of_input) ++next_;
  return c;
}

int tokenizer::next_token(char* buffer, int size) {
  const int c = next_char();
  switch (c) {
    case end_of_input:
    case equal_sign:
    case tag_end:
      return c;
    case '<':
      return take_token_behind_less_than();
    case '/':
    case '?':
      if (peek() != '>') return end_of_input;
      ++next_;
      return c == '/' ? empty_tag_end : declaration_end;
    default:
      break;
  }
  bounded_text text(buffer, size - 1);
  if (c == '"') {
    take_quoted(text);
  } else {
    --next_;  // the first character belongs to the name, whatever it is
    take_one(text);
    take_until<stops_name>(text);
  }
  text.terminate(size);
  return c == '"' ? quoted_string : name;
}

const signed char* tokenizer::find_end_behind(const signed char* start, std::string_view tag_name) const {
  const auto size = static_cast<std::ptrdiff_t>(tag_name.size());
  if (end_ - start <= size || start[size] != '>' || std::memcmp(start, tag_name.data(), tag_name.size()) != 0)
    return nullptr;
  return start + size + 1;
}

bool tokenizer::take_rest_of_end_tag(std::string_view tag_name) {
  const signed char* const end = find_end_behind(next_, tag_name);
  if (end != nullptr) next_ = end;
  return end != nullptr;
}

std::string_view tokenizer::take_plain_start_tag(std::size_t most_bytes) {
  if (next_ == end_ || !starts_name(*next_)) return {};
  const signed char* const name_end = find_stop<stops_name>(next_ + 1, end_);
  const auto size = static_cast<std::size_t>(name_end - next_);
  if (name_end == end_ || *name_end != '>' || size > most_bytes) return {};
  return {reinterpret_cast<const char*>(std::exchange(next_, name_end + 1)), size};
}

std::optional<std::string_view> tokenizer::take_plain_content(std::string_view tag_name,
                                                              std::size_t most_bytes) {
  const signed char* const text_end = find_stop<stops_text | stops_c_text>(next_, end_);
  const auto size = static_cast<std::size_t>(text_end - next_);
  if (end_ - text_end < 2 || text_end[0] != '<' || text_end[1] != '/' || size > most_bytes)
    return std::nullopt;
  const signed char* const end = find_end_behind(text_end + 2, tag_name);
  if (end == nullptr) return std::nullopt;
  return std::string_view(reinterpret_cast<const char*>(std::exchange(next_, end)), size);
}

int tokenizer::take_token_behind_less_than() {
  switch (peek()) {
    case '/':
      ++next_;
      return end_tag;
    case '?':
      ++next_;
      return declaration_start;
    case '!':
      break;
    default:
      return start_tag;
  }
  if (peek(1) != '-' || peek(2) != '-') return end_of_input;
  next_ += 3;
  while (peek() != end_character) {
    if (*next_ == '-' && peek(1) == '-' && peek(2) == '>') {
      next_ += 3;
      break;
    }
    ++next_;
  }
  return comment;
}

void tokenizer::take_quoted(bounded_text& text) {
  for (;;) {
    take_until<stops_string>(text);
    if (*next_ == end_character) return;
    if (*next_++ == '"') return;
    if (peek() == end_character) return;
    take_one(text);
  }
}

void tokenizer::get_text(char* buffer, int size) {
  bounded_text text(buffer, size - 2);
  std::size_t open_elements = 0;
  for (;;) {
    take_until<stops_text>(text);
    if (*next_ == end_character) break;
    const bool opens = *next_ == '<';
    const int c = peek(1);
    if (opens && c == '/') {
      if (open_elements == 0) break;
      --open_elements;
      take_one(text);  // so that the "/" of "</>" does not close twice
    } else if (opens && starts_name(c)) {
      ++open_elements;
    } else if (!opens && c == '>' && open_elements > 0) {
      --open_elements;
    }
    take_one(text);
  }
  text.terminate(size);
  if (text.dropped() > 0) std::cout << "WARNING: buffer too small for data, truncating" << std::endl;
}

}  // namespace xml
