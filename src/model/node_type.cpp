#include "model/node_type.h"

#include "model/kzr_data_manager.h"

const char* find_join_policy(const string_handles& handles, std::uint64_t kind) {
  if (handles.is(vocabulary_word::join_queueing, kind)) return "queueing";
  if (handles.is(vocabulary_word::join_reserving, kind)) return "reserving";
  if (handles.is(vocabulary_word::join_tag_matching, kind)) return "tag_matching";
  return nullptr;
}

std::string_view node_type_of(const kzr_data_manager& model, const node_symbol& node) {
  if (node.type() == symbol_class::subgraph_node) {
    return model.is_streaming_node(node) ? "streaming_node" : "subgraph_node";
  }
  if (find_join_policy(model.handles(), node.handle()) != nullptr) return "join_node";
  return model.handles().text(node.handle());
}
