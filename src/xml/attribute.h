#pragma once

namespace xml {

/// One attribute of an element, in the list of that element. Texts and list belong to the document.
struct attribute {
  const char* name;
  const char* value;
  const attribute* next;  ///< the attribute before it in the file, or null
};

}  // namespace xml
