#include "model/key_symbol.h"

#include <utility>

#include "common/append_number.h"
#include "common/kzr_assert.h"

std::uint64_t key_symbol::key_count = 0;

key_symbol::key_symbol(std::string attribute_name, std::string attribute_type, std::string target,
                       std::string name_space)
    : number_(key_count++),
      attribute_name_(std::move(attribute_name)),
      attribute_type_(std::move(attribute_type)),
      target_(std::move(target)),
      name_space_(std::move(name_space)) {}

std::shared_ptr<graph_symbol> key_symbol::get_enclosing_graph() const {
  kzr_fail("No enclosing graph for keys");
}

std::string key_symbol::gml_id() const {
  std::string id = "d";
  append_number(id, number_);
  return id;
}

___onx_id key_symbol::onx_id() const { kzr_fail("onx id undefined for this symbol type"); }

unsigned long key_symbol::handle() const { kzr_fail("string handle undefined for this symbol type"); }

void key_symbol::add_metadata(unsigned long, unsigned long, const char*) {}
