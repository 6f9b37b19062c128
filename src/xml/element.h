#pragma once

#include <vector>

#include "xml/attribute.h"

namespace xml {

/// An element of the tree. Elements, texts and attributes are in the arena of their document and go with it,
/// all at once, so an element is five pointers and the depth of a document costs no stack. No query recurses.
class element {
 public:
  /// Borrows `name`, zero-terminated, for as long as the element exists.
  explicit element(const char* name) : name_(name) {}

  /// The name in the element's tags.
  [[nodiscard]] const char* name() const { return name_; }
  /// The text content; empty unless the element holds text.
  [[nodiscard]] const char* text() const { return text_; }
  /// Value of the attribute `name`; empty when there is none. Of several the last one counts.
  [[nodiscard]] const char* get_attribute(const char* name) const;

  /// The first direct child, or null.
  [[nodiscard]] const element* first_child() const { return first_child_; }
  /// The child of the same parent that follows, or null.
  [[nodiscard]] const element* next_sibling() const { return next_sibling_; }
  /// All elements below this one with that name, in document order.
  [[nodiscard]] std::vector<const element*> children(const char* name) const;

  /// Borrows `text`, zero-terminated, as the text content.
  void set_text(const char* text) { text_ = text; }
  /// Puts `added`, which stays with the document, in front of the list of attributes.
  void add_attribute(attribute& added);
  /// Appends `added` behind `last_child`, which is the last child so far or null: whoever adds children knows
  /// it, and thousands of elements without children need not hold it.
  void add_child(element& added, element* last_child);

 private:
  const char* name_;
  const char* text_ = "";
  const attribute* attributes_ = nullptr;
  element* first_child_ = nullptr;
  element* next_sibling_ = nullptr;
};

}  // namespace xml
