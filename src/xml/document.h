#pragma once

#include <array>
#include <iosfwd>
#include <memory>
#include <string_view>
#include <vector>

#include "common/text_arena.h"
#include "xml/element.h"
#include "xml/tokenizer.h"

namespace xml {

/// A file as a tree of elements, which it owns. Is itself the element "xml", which holds the attributes of
/// the XML declaration. What was built before a damaged place stays in the tree.
class document : public element {
 public:
  /// Opens the file; says on standard output when that fails, and is then empty.
  explicit document(const char* file_name);

  /// Reads the file to its end, or to the first place that is not understood (then false), and closes it.
  bool parse();

  /// Reads a declaration whose "<?" has been taken, up to its "?>".
  bool parse_xml_tag();

  /// Reads an element whose "<" has been taken, with all that is in it. It becomes the last child of
  /// `parent`, or the root when there is none.
  bool parse_element(element* parent);

  /// The root element, or null.
  [[nodiscard]] element* root() const { return root_; }
  /// Borrows `root`, which must live as long as the document.
  void set_root(element* root) { root_ = root; }

  /// The first element below the root with that name, or null.
  [[nodiscard]] element* elem(const char* name) const;
  /// The elements below the root that element::children() finds; none without a root.
  [[nodiscard]] std::vector<element*> elems(const char* name, const char* attribute = nullptr,
                                            const char* value = nullptr) const;

  /// Writes the document, for people who look at it.
  void dump(std::ostream& out) const;

 private:
  /// An element whose content is being read.
  struct open_element {
    element* self;  ///< null above the root
    element* last_child;
  };

  /// A name whose zero-terminated copy is in the arena.
  struct kept_name {
    std::string_view text;
    /// Whether an element with that name holds text, whatever it begins with.
    bool holds_text = false;
  };

  bool parse_top_level();
  element* add_element(open_element& parent, const kept_name& name);
  int read_attributes(element& owner);
  bool read_text_and_end(element& e, const kept_name& name);
  bool read_end_tag(std::string_view name);
  kept_name keep_name(std::string_view name);
  const char* keep_text(std::string_view text);

  static constexpr int token_bytes = 1024;
  static constexpr int text_bytes = 100000;

  element* root_ = nullptr;
  tokenizer tokens_;
  text_arena storage_;
  std::array<kept_name, 64> recent_names_{};
  std::unique_ptr<char[]> text_buffer_;  ///< present while the file is being read
};

}  // namespace xml
