#include "support/recorded.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

std::string every_kind(kzr::trace_form form) {
  constexpr kzr::object_id graph{1, 2, 3}, node{4, 5, ~std::uint64_t{0}}, output{4, 1, 0}, input{4, 2, 0};
  kzr::trace_encoder file = recorded(form);
  file.domain(1, "pwl").wide_domain(2, u"ab").definition(1, "d", 2, 3).api_version("v1");
  file.string_handle(3, "graph").string_handle(4, "input_port").string_handle(5, "output_port");
  file.string_handle(7, "code_address").task_group(1, graph, {}, 3).task_group(1, node, graph, 9);
  file.task_group(1, output, node, 5).task_group(1, input, node, 4);
  file.relation(1, output, kzr::relation_code::makes_edge_to, input);
  file.metadata(1, node, 7, kzr::value_type::u64, 1, 0x0102030405060708);
  file.metadata_string(1, {9, 0, 0}, 8, "event").wide_metadata_string(1, node, 8, u"w");
  file.task_begin(1, node, graph, 5, 6).region_begin(1, node, graph, 9);
  file.relation(1, {3, 0, 0}, kzr::relation_code::is_child_of, node).region_end(1, node).task_end(1);
  file.id_create(1, node).id_destroy(1, node).wide_string_handle(10, u"z");
  return file.end().take();
}

void write_file(const std::filesystem::path& path, std::string_view bytes) {
  if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) ADD_FAILURE() << "cannot write " << path;
}

std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) ADD_FAILURE() << "cannot read " << path;
  return {std::istreambuf_iterator<char>(file), {}};
}
