#include "model/node_symbol.h"

#include <algorithm>
#include <new>

#include "common/text_arena.h"
#include "common/text_buffer.h"
#include "model/graph_symbol.h"
#include "model/port_symbol.h"
#include "model/subgraph_node_symbol.h"

node_symbol::node_symbol(symbol_class type, const ___onx_id& id, graph_symbol& graph, std::uint64_t handle,
                         std::uint32_t number)
    : kzr_symbol(type, id),
      number_(number),
      graph_(&graph),
      name_prefix_(graph.name_prefix()),
      handle_(handle) {}

graph_symbol* node_symbol::get_enclosing_graph() const {
  if (visible_ || type() == symbol_class::subgraph_node) return graph_;
  const subgraph_node_symbol* const composite = graph_->composite_node();
  return composite != nullptr ? &composite->own_graph() : nullptr;
}

graph_symbol& node_symbol::graph_for_ports() const {
  graph_symbol* const graph = get_enclosing_graph();
  return graph != nullptr ? *graph : *graph_;
}

namespace {

constexpr std::string_view before_number = "::n";

std::size_t size_of_part(std::uint32_t number) {
  std::size_t digits = 1;
  for (; number >= 10; number /= 10) ++digits;
  return before_number.size() + digits;
}

/// Writes "::n" and `number` up to `end`; returns where they begin.
char* write_part_before(char* end, std::uint32_t number) {
  do {
    *--end = static_cast<char>('0' + number % 10);
    number /= 10;
  } while (number > 0);
  return std::copy_backward(before_number.begin(), before_number.end(), end);
}

}  // namespace

void node_symbol::append_gml_id(text_buffer& text) const {
  // The parts are known from the inside out. Composite nodes may be nested as deep as the trace likes, so
  // they are measured first and then written from the back.
  std::size_t size = 0;
  const graph_symbol* graph = nullptr;
  const node_symbol* node = this;
  do {
    if (node->visible_) size += size_of_part(node->number_);
    graph = &node->graph_->id_graph();
    node = graph->composite_node();
  } while (node != nullptr);
  graph->append_gml_id(text);
  char* end = text.extend(size) + size;
  for (node = this; node != nullptr; node = node->graph_->id_graph().composite_node()) {
    if (node->visible_) end = write_part_before(end, node->number_);
  }
}

void node_symbol::set_code_location(std::string_view location, text_arena& arena) {
  if (location != code_location_) code_location_ = arena.copy(location);
}

void node_symbol::add_metadata(std::uint64_t key, const char* text, text_arena& arena) {
  char* const memory = arena.allocate(sizeof(metadata), alignof(metadata));
  metadata_ = new (memory) metadata{key, text, metadata_};
}

std::string_view node_symbol::find_metadata(std::uint64_t key) const {
  for (const metadata* told = metadata_; told != nullptr; told = told->earlier) {
    if (told->key == key) return told->text;
  }
  return {};
}

void node_symbol::add_port(port_symbol& port, text_arena& arena) {
  (port.is_input() ? input_ports_ : output_ports_).add(port, arena);
}
