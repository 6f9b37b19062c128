#include "model/kzr_symbol.h"

#include <cstdlib>

#include "common/kzr_assert.h"
#include "model/graph_symbol.h"
#include "model/node_symbol.h"
#include "model/symbol_list.h"

std::shared_ptr<graph_symbol> kzr_symbol::get_enclosing_graph() const {
  kzr_fail("get_enclosing_graph is undefined");
}

std::shared_ptr<node_symbol> kzr_symbol::get_parent_node() const {
  kzr_fail("graphml id undefined for this symbol type");
}

std::string kzr_symbol::gml_id() const { kzr_fail("graphml id undefined for this symbol type"); }

___onx_id kzr_symbol::onx_id() const { kzr_fail("onx id undefined for this symbol type"); }

unsigned long kzr_symbol::handle() const { kzr_fail("string handle undefined for this symbol type"); }

void kzr_symbol::add_metadata(unsigned long key, unsigned long, const char* value) {
  list_->metadata_.place({list_position_, key}) = value;
}

std::string_view kzr_symbol::find_metadata(unsigned long key) const {
  if (list_ == nullptr) return {};
  const char* const value = list_->metadata_.value_or_default({list_position_, key});
  return value == nullptr ? std::string_view() : std::string_view(value);
}

void kzr_symbol::dump_as_graphml(kzr_data_manager&, std::ostream&, const std::string&) {
  kzr_fail("symbol cannot be written to graphml");
}

void* kzr_symbol::as(symbol_class) { return nullptr; }

namespace {

int gml_number(const kzr_symbol& symbol) {
  const std::string id = symbol.gml_id();
  return id.size() > 1 ? static_cast<int>(std::strtol(id.c_str() + 1, nullptr, 10)) : 0;
}

}  // namespace

bool kzr_symbol::gml_compare::operator()(const std::shared_ptr<kzr_symbol>& a,
                                         const std::shared_ptr<kzr_symbol>& b) const {
  return gml_number(*a) < gml_number(*b);
}
