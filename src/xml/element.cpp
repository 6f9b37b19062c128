#include "xml/element.h"

#include <cstring>

namespace xml {

const char* element::get_attribute(const char* name) const {
  for (const attribute* a = attributes_; a != nullptr; a = a->next) {
    if (std::strcmp(a->name, name) == 0) return a->value;
  }
  return "";
}

std::vector<const element*> element::children(const char* name) const {
  std::vector<const element*> found;
  std::vector<const element*> later;  // what follows the elements on the way down
  const element* e = first_child_;
  while (e != nullptr) {
    if (std::strcmp(e->name_, name) == 0) found.push_back(e);
    const element* next = e->next_sibling_;
    if (e->first_child_ != nullptr) {
      if (next != nullptr) later.push_back(next);
      next = e->first_child_;
    } else if (next == nullptr && !later.empty()) {
      next = later.back();
      later.pop_back();
    }
    e = next;
  }
  return found;
}

void element::add_attribute(attribute& added) {
  added.next = attributes_;
  attributes_ = &added;
}

void element::add_child(element& added, element* last_child) {
  (last_child == nullptr ? first_child_ : last_child->next_sibling_) = &added;
}

}  // namespace xml
