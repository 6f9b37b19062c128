#include "model/graph_symbol.h"

void graph_symbol::init_sub_graphs(kzr_data_manager*) {}
void graph_symbol::update_ports(kzr_data_manager*) {}
void graph_symbol::cleanup_nested_graphs() {}
void graph_symbol::set_inner_visibility(kzr_data_manager*) {}
#include "model/node_symbol.h"
void node_symbol::set_sub_graph(graph_symbol&) {}
