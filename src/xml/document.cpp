#include "xml/document.h"

#include <cstring>
#include <new>
#include <type_traits>

namespace xml {

static_assert(std::is_trivially_destructible_v<element> && std::is_trivially_destructible_v<attribute>,
              "the arena destroys nothing");

document::document(const char* file_name)
    : tokens_(file_name), text_buffer_(std::make_unique_for_overwrite<char[]>(text_bytes)) {}

bool document::parse() {
  const bool understood = parse_top_level();
  tokens_.close();
  text_buffer_.reset();
  return understood;
}

bool document::parse_top_level() {
  char token_text[token_bytes];
  for (;;) {
    switch (tokens_.next_token(token_text, token_bytes)) {
      case tokenizer::end_of_input:
        return true;
      case tokenizer::comment:
        break;
      case tokenizer::declaration_start:
        if (!parse_xml_tag()) return false;
        break;
      case tokenizer::start_tag:
        if (root_ != nullptr || !parse_element()) return false;
        break;
      default:
        return false;
    }
  }
}

bool document::parse_xml_tag() {
  char name[token_bytes];
  return tokens_.next_token(name, token_bytes) == tokenizer::name &&
         read_attributes(nullptr) == tokenizer::declaration_end;
}

/// Reads the root element, whose "<" has been taken, with all that is in it.
bool document::parse_element() {
  std::vector<open_element> open{{nullptr, nullptr}};
  char token_text[token_bytes];
  int token = tokenizer::start_tag;
  while (token == tokenizer::start_tag) {
    std::string_view tag = tokens_.take_plain_start_tag(token_bytes - 1);
    const bool is_plain = !tag.empty();
    if (!is_plain) {
      if (tokens_.next_token(token_text, token_bytes) != tokenizer::name) return false;
      tag = token_text;
    }
    const kept_name name = keep_name(tag);
    element* const e = add_element(open.back(), name);
    const int tag_ending = is_plain ? tokenizer::tag_end : read_attributes(e);
    // The short cut matters: the text of elements with some names starts right behind ">", that of all others
    // behind the white space there, which the look ahead skips.
    if (tag_ending == tokenizer::tag_end && (name.holds_text || tokens_.look_ahead() != '<')) {
      if (!read_text_and_end(*e, name)) return false;
    } else if (tag_ending == tokenizer::tag_end) {
      open.push_back({e, nullptr});
    } else if (tag_ending != tokenizer::empty_tag_end) {
      return false;
    }
    do {
      if (open.size() == 1) return true;
      token = tokens_.next_token(token_text, token_bytes);
      if (token == tokenizer::end_tag) {
        if (!read_end_tag(open.back().self->name())) return false;
        open.pop_back();
      }
    } while (token == tokenizer::end_tag || token == tokenizer::comment);
  }
  return false;
}

element* document::add_element(open_element& parent, const kept_name& name) {
  auto* const e = new (storage_.allocate(sizeof(element), alignof(element))) element(name.text.data());
  if (parent.self == nullptr) {
    root_ = e;
  } else {
    parent.self->add_child(*e, parent.last_child);
    parent.last_child = e;
  }
  return e;
}

/// Reads attributes up to the token behind them, which is returned, into `owner`; without one they are
/// dropped.
int document::read_attributes(element* owner) {
  char token_text[token_bytes];
  for (;;) {
    const int token = tokens_.next_token(token_text, token_bytes);
    if (token != tokenizer::name) return token;
    const kept_name name = keep_name(token_text);
    if (tokens_.next_token(token_text, token_bytes) != tokenizer::equal_sign) return tokenizer::end_of_input;
    if (tokens_.next_token(token_text, token_bytes) != tokenizer::quoted_string)
      return tokenizer::end_of_input;
    if (owner == nullptr) continue;
    char* const memory = storage_.allocate(sizeof(attribute), alignof(attribute));
    owner->add_attribute(*new (memory) attribute{name.text.data(), keep_text(token_text), nullptr});
  }
}

bool document::read_text_and_end(element& e, const kept_name& name) {
  if (const auto text = tokens_.take_plain_content(name.text, text_bytes - 2)) {
    e.set_text(keep_text(*text));
    return true;
  }
  tokens_.get_text(text_buffer_.get(), text_bytes);
  e.set_text(keep_text(text_buffer_.get()));
  char token_text[token_bytes];
  return tokens_.next_token(token_text, token_bytes) == tokenizer::end_tag && read_end_tag(name.text);
}

bool document::read_end_tag(std::string_view name) {
  if (tokens_.take_rest_of_end_tag(name)) return true;
  char text[token_bytes];
  return tokens_.next_token(text, token_bytes) == tokenizer::name && text == name &&
         tokens_.next_token(text, token_bytes) == tokenizer::tag_end;
}

document::kept_name document::keep_name(std::string_view name) {
  // A document has few names, so the last copy of one is nearly always the wanted one; a miss costs a copy
  // more.
  const std::size_t mix = name.empty() ? 0
                                       : name.size() * 7 + static_cast<unsigned char>(name.front()) * 3 +
                                             static_cast<unsigned char>(name.back());
  kept_name& recent = recent_names_[mix % recent_names_.size()];
  if (recent.text.data() == nullptr || recent.text != name) {
    recent = {{storage_.copy(name), name.size()}, name == "data" || name == "text"};
  }
  return recent;
}

const char* document::keep_text(std::string_view text) { return text.empty() ? "" : storage_.copy(text); }

std::vector<const element*> document::elems(const char* name) const {
  if (root_ == nullptr) return {};
  return root_->children(name);
}

}  // namespace xml
