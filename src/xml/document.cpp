#include "xml/document.h"

#include <cstring>
#include <new>
#include <ostream>
#include <string_view>
#include <type_traits>

namespace xml {

static_assert(std::is_trivially_destructible_v<element> && std::is_trivially_destructible_v<attribute>,
              "the arena destroys nothing");

document::document(const char* file_name)
    : element("xml", ""),
      tokens_(file_name),
      text_buffer_(std::make_unique_for_overwrite<char[]>(text_bytes)) {}

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
        if (root_ != nullptr || !parse_element(nullptr)) return false;
        break;
      default:
        return false;
    }
  }
}

bool document::parse_xml_tag() {
  char name[token_bytes];
  return tokens_.next_token(name, token_bytes) == tokenizer::name &&
         read_attributes(*this) == tokenizer::declaration_end;
}

bool document::parse_element(element* parent) {
  element* last_child = parent == nullptr ? nullptr : parent->first_child();
  while (last_child != nullptr && last_child->next_sibling() != nullptr)
    last_child = last_child->next_sibling();
  std::vector<open_element> open{{parent, last_child}};
  char token_text[token_bytes];
  int token = tokenizer::start_tag;
  while (token == tokenizer::start_tag) {
    element* const e = start_element(open.back());
    if (e == nullptr) return false;
    const int tag_ending = read_attributes(*e);
    if (tag_ending == tokenizer::tag_end && holds_text(*e)) {
      read_text(*e);
      if (tokens_.next_token(token_text, token_bytes) != tokenizer::end_tag || !read_end_tag(*e))
        return false;
    } else if (tag_ending == tokenizer::tag_end) {
      open.push_back({e, nullptr});
    } else if (tag_ending != tokenizer::empty_tag_end) {
      return false;
    }
    do {
      if (open.size() == 1) return true;
      token = tokens_.next_token(token_text, token_bytes);
      if (token == tokenizer::end_tag) {
        if (!read_end_tag(*open.back().self)) return false;
        open.pop_back();
      }
    } while (token == tokenizer::end_tag || token == tokenizer::comment);
  }
  return false;
}

element* document::start_element(open_element& parent) {
  char name[token_bytes];
  if (tokens_.next_token(name, token_bytes) != tokenizer::name) return nullptr;
  auto* const e = new (storage_.allocate(sizeof(element), alignof(element))) element(keep_name(name), "");
  if (parent.self == nullptr) {
    set_root(e);
  } else {
    parent.self->add_child(*e, parent.last_child);
    parent.last_child = e;
  }
  return e;
}

int document::read_attributes(element& owner) {
  char token_text[token_bytes];
  for (;;) {
    const int token = tokens_.next_token(token_text, token_bytes);
    if (token != tokenizer::name) return token;
    const char* const name = keep_name(token_text);
    if (tokens_.next_token(token_text, token_bytes) != tokenizer::equal_sign) return tokenizer::end_of_input;
    if (tokens_.next_token(token_text, token_bytes) != tokenizer::quoted_string)
      return tokenizer::end_of_input;
    char* const place = storage_.allocate(sizeof(attribute), alignof(attribute));
    owner.add_attribute(*new (place) attribute{name, keep_text(token_text), nullptr});
  }
}

bool document::holds_text(const element& e) {
  // The short cut matters: the text of the first two starts right behind ">", that of all others behind the
  // white space there, which the look ahead skips.
  return std::strcmp(e.name(), "data") == 0 || std::strcmp(e.name(), "text") == 0 ||
         tokens_.look_ahead() != '<';
}

void document::read_text(element& e) {
  tokens_.get_text(text_buffer_.get(), text_bytes);
  e.set_text(keep_text(text_buffer_.get()));
}

bool document::read_end_tag(const element& e) {
  if (tokens_.take_rest_of_end_tag(e.name())) return true;
  char text[token_bytes];
  return tokens_.next_token(text, token_bytes) == tokenizer::name && std::strcmp(text, e.name()) == 0 &&
         tokens_.next_token(text, token_bytes) == tokenizer::tag_end;
}

const char* document::keep_name(const char* name) {
  // A document has few names, so the last copy of one is nearly always the wanted one; a miss costs a copy
  // more.
  const std::size_t size = std::strlen(name);
  const std::size_t mix = size == 0 ? 0
                                    : size * 7 + static_cast<unsigned char>(name[0]) * 3 +
                                          static_cast<unsigned char>(name[size - 1]);
  const char*& recent = recent_names_[mix % recent_names_.size()];
  if (recent == nullptr || std::strcmp(recent, name) != 0) recent = storage_.copy({name, size});
  return recent;
}

const char* document::keep_text(const char* text) { return *text == '\0' ? "" : storage_.copy(text); }

element* document::elem(const char* name) const {
  return root_ == nullptr ? nullptr : root_->first_child(name);
}

std::vector<element*> document::elems(const char* name, const char* attribute, const char* value) const {
  if (root_ == nullptr) return {};
  return root_->children(name, attribute, value);
}

void document::dump(std::ostream& out) const {
  element::dump(out);
  if (root_ != nullptr) root_->dump(out);
}

}  // namespace xml
