#pragma once

#include <iosfwd>
#include <vector>

#include "xml/attribute.h"

namespace xml {

/// Depth of the element that is being dumped, in indentation steps.
extern int g_nested_element_level;

/// Writes the indentation of the current dump level.
void dump_tab(std::ostream& out);

/// An element of the tree. Elements, texts and attributes live in the arena of their document and go with it,
/// all at once, so an element is five pointers and the depth of a document costs no stack. No query recurses.
class element {
 public:
  /// Borrows `name` and `text`, zero-terminated, for as long as the element lives.
  element(const char* name, const char* text) : name_(name), text_(text) {}

  /// The name in the element's tags.
  [[nodiscard]] const char* name() const { return name_; }
  /// The text content; empty unless the element holds text.
  [[nodiscard]] const char* text() const { return text_; }
  /// Value of the attribute `name`; empty when there is none. Of several the last one counts.
  [[nodiscard]] const char* get_attribute(const char* name) const;

  /// The first direct child, or null.
  [[nodiscard]] element* first_child() const { return first_child_; }
  /// The child of the same parent that follows, or null.
  [[nodiscard]] element* next_sibling() const { return next_sibling_; }

  /// The first element of children(name, attribute, value), or null.
  [[nodiscard]] element* first_child(const char* name, const char* attribute = nullptr,
                                     const char* value = nullptr) const;

  /// The first element below this one, in document order, whose "id" attribute equals `id`, or null.
  [[nodiscard]] element* child(const char* id) const;

  /// All elements below this one, in document order, with that name and that attribute value. Null matches
  /// all; a missing attribute reads as empty text.
  [[nodiscard]] std::vector<element*> children(const char* name = nullptr, const char* attribute = nullptr,
                                               const char* value = nullptr) const;

  /// Borrows `text`, zero-terminated, as the text content.
  void set_text(const char* text) { text_ = text; }

  /// Puts `added`, which stays with the document, in front of the list of attributes.
  void add_attribute(attribute& added);

  /// Appends `added` behind `last_child`, which is the last child so far or null: whoever adds children knows
  /// it, and thousands of elements without children need not hold it.
  void add_child(element& added, element* last_child);

  /// Writes the element and what is below it, for people who look at a document.
  void dump(std::ostream& out) const;

 private:
  void dump_start(std::ostream& out) const;

  const char* name_;
  const char* text_;
  const attribute* attributes_ = nullptr;
  element* first_child_ = nullptr;
  element* next_sibling_ = nullptr;
};

}  // namespace xml
