#include "model/edge_symbol.h"

#include "common/kzr_assert.h"
#include "common/text_buffer.h"
#include "model/graph_symbol.h"
#include "model/node_symbol.h"
#include "model/port_symbol.h"

std::uint64_t edge_symbol::edge_count = 0;

edge_symbol::edge_symbol(port_symbol& first, port_symbol& second)
    : graph_(&first.node().graph_for_ports()), first_(&first), second_(&second), number_(edge_count++) {}

std::shared_ptr<graph_symbol> edge_symbol::get_enclosing_graph() const { return graph_->shared_from_this(); }

std::string edge_symbol::gml_id() const {
  text_buffer id;
  append_gml_id(id);
  return std::string(id.view());
}

void edge_symbol::append_gml_id(text_buffer& text) const {
  graph_->append_gml_id(text);
  text += "::e";
  append_number(text, number_);
}

___onx_id edge_symbol::onx_id() const { kzr_fail("ERROR: An edge does not have an onx id"); }

unsigned long edge_symbol::handle() const { return first_->handle(); }

void* edge_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }

void edge_symbol::append_accessors(const string_handles& handles, text_buffer& text) const {
  first_->append_gml_accessor(handles, text);
  text += ' ';
  second_->append_gml_accessor(handles, text);
}
