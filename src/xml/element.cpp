#include "xml/element.h"

#include <cstring>
#include <ostream>

namespace xml {
namespace {

/// Walks the elements below `top` in document order and returns the first that `is_wanted`, or null.
template <typename predicate>
element* find_below(const element& top, predicate is_wanted) {
  std::vector<element*> later;  // what follows the elements on the way down
  element* e = top.first_child();
  while (e != nullptr) {
    if (is_wanted(*e)) return e;
    element* next = e->next_sibling();
    if (e->first_child() != nullptr) {
      if (next != nullptr) later.push_back(next);
      next = e->first_child();
    } else if (next == nullptr && !later.empty()) {
      next = later.back();
      later.pop_back();
    }
    e = next;
  }
  return nullptr;
}

bool matches(const element& e, const char* name, const char* attribute, const char* value) {
  if (name != nullptr && (*e.name() != *name || std::strcmp(e.name(), name) != 0)) return false;
  return attribute == nullptr || value == nullptr || std::strcmp(e.get_attribute(attribute), value) == 0;
}

}  // namespace

int g_nested_element_level = 0;

void dump_tab(std::ostream& out) {
  for (int level = 0; level < g_nested_element_level; ++level) out << "   ";
}

const char* element::get_attribute(const char* name) const {
  for (const attribute* a = attributes_; a != nullptr; a = a->next) {
    if (std::strcmp(a->name, name) == 0) return a->value;
  }
  return "";
}

element* element::first_child(const char* name, const char* attribute, const char* value) const {
  return find_below(*this, [&](const element& e) { return matches(e, name, attribute, value); });
}

element* element::child(const char* id) const {
  return find_below(*this, [&](const element& e) { return std::strcmp(e.get_attribute("id"), id) == 0; });
}

std::vector<element*> element::children(const char* name, const char* attribute, const char* value) const {
  std::vector<element*> found;
  find_below(*this, [&](element& e) {
    if (matches(e, name, attribute, value)) found.push_back(&e);
    return false;
  });
  return found;
}

void element::add_attribute(attribute& added) {
  added.next = attributes_;
  attributes_ = &added;
}

void element::add_child(element& added, element* last_child) {
  (last_child == nullptr ? first_child_ : last_child->next_sibling_) = &added;
}

void element::dump_start(std::ostream& out) const {
  dump_tab(out);
  out << '<' << name_;
  for (const attribute* a = attributes_; a != nullptr; a = a->next) {
    out << ' ' << a->name << "=\"" << a->value << '"';
  }
  out << '>' << text_;
}

void element::dump(std::ostream& out) const {
  std::vector<const element*> open;
  const element* e = this;
  for (;;) {
    e->dump_start(out);
    if (e->first_child_ != nullptr) {
      out << '\n';
      open.push_back(e);
      ++g_nested_element_level;
      e = e->first_child_;
      continue;
    }
    out << "</" << e->name_ << ">\n";
    while (!open.empty() && e->next_sibling_ == nullptr) {
      e = open.back();
      open.pop_back();
      --g_nested_element_level;
      dump_tab(out);
      out << "</" << e->name_ << ">\n";
    }
    if (open.empty()) return;
    e = e->next_sibling_;
  }
}

}  // namespace xml
