#pragma once

#include <array>
#include <memory>
#include <string_view>
#include <vector>

#include "common/text_arena.h"
#include "xml/element.h"
#include "xml/tokenizer.h"

namespace xml {

/// A file as a tree of elements, which it owns. What was built before a damaged place stays in the tree.
class document {
 public:
  /// Opens the file; says on standard output when that fails, and is then empty.
  explicit document(const char* file_name);

  /// Reads the file to its end, or to the first place that is not understood (then false), and closes it.
  bool parse();

  /// The root element, or null.
  [[nodiscard]] const element* root() const { return root_; }
  /// The elements below the root with that name, in document order; none without a root.
  [[nodiscard]] std::vector<const element*> elems(const char* name) const;

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
  bool parse_xml_tag();
  bool parse_element();
  element* add_element(open_element& parent, const kept_name& name);
  int read_attributes(element* owner);
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
