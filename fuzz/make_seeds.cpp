// Writes the seeds of the fuzz corpora below a given directory: small runs with small numbers, so that
// changed bytes often hit another known object.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/run_input.h"
#include "recorder/sample_words.h"

namespace {

using namespace kzr::sample;
using kzr::object_id;
using kzr::relation_code;
using kzr::trace_encoder;
using kzr::trace_form;

constexpr object_id source{2, 1, 0};
constexpr object_id sink{3, 1, 0};
constexpr object_id composite{4, 1, 0};
constexpr object_id inner{5, 1, 0};

trace_encoder words(trace_form form, std::string_view domain_name) {
  trace_encoder encoder(form, 1000, 4);
  return add_words(encoder, domain_name);
}

std::string flow_graph(trace_form form) {
  return words(form, "pwl.flow")
      .task_group(domain, graph, {}, graph_kind)
      .task_group(domain, source, graph, node_kind)
      .task_group(domain, sink, graph, node_kind)
      .task_group(domain, {2, 2, 0}, source, output_kind)
      .task_group(domain, {3, 2, 0}, sink, input_kind)
      .relation(domain, {3, 3, 0}, relation_code::is_child_of, sink)
      .relation(domain, {2, 2, 0}, relation_code::makes_edge_to, {3, 2, 0})
      .metadata_string(domain, source, name_key, "source")
      .metadata(domain, sink, address_key, kzr::value_type::u64, 1, 5000)
      .metadata_string(domain, {9, 9, 9}, name_key, "hello")
      .task_begin(domain, {3, 3, 0}, {}, node_kind, 1)
      .region_begin(domain, source, graph, node_kind)
      .region_end(domain, source)
      .task_end(domain)
      .relation(domain, {2, 2, 0}, relation_code::removes_edge_to, {3, 2, 0})
      .end()
      .take();
}

/// `nested` puts a composite node inside the composite node; `special` makes the outer one a streaming node.
std::string composite_graph(trace_form form, bool nested, bool special) {
  trace_encoder encoder = words(form, "pwl.flow");
  encoder.task_group(domain, graph, {}, graph_kind)
      .task_group(domain, composite, graph, composite_kind)
      .task_group(domain, source, graph, node_kind)
      .task_group(domain, inner, graph, node_kind)
      .task_group(domain, sink, graph, node_kind)
      .task_group(domain, {2, 2, 0}, source, output_kind)
      .task_group(domain, {5, 2, 0}, inner, input_kind)
      .task_group(domain, {6, 2, 0}, inner, output_kind)
      .task_group(domain, {7, 2, 0}, sink, input_kind)
      .task_group(domain, {5, 3, 0}, composite, input_kind)
      .relation(domain, composite, relation_code::is_parent_of, {5, 3, 0})
      .relation(domain, {2, 2, 0}, relation_code::makes_edge_to, {5, 2, 0})
      .relation(domain, {6, 2, 0}, relation_code::makes_edge_to, {7, 2, 0})
      .relation(domain, {6, 2, 0}, relation_code::makes_edge_to, {5, 2, 0})
      .relation(domain, inner, relation_code::is_child_of, composite);
  if (nested) {
    encoder.task_group(domain, {8, 1, 0}, graph, composite_kind)
        .task_group(domain, {5, 4, 0}, {8, 1, 0}, input_kind)
        .relation(domain, {8, 1, 0}, relation_code::is_parent_of, {5, 4, 0});
  }
  if (special) encoder.task_group(domain, composite, graph, special_kind);
  return encoder.task_begin(domain, inner, {}, output_kind, 2).task_end(domain).end().take();
}

std::string openmp_region(trace_form form) {
  return words(form, "openmp")
      .task_group(domain, graph, {}, graph_kind)
      .task_group(domain, {30, 0, 5}, {}, region_kind)
      .task_group(domain, {30, 1, 5}, graph, composite_kind)
      .task_group(domain, {30, 2, 5}, {30, 0, 5}, implicit_kind)
      .task_group(domain, {40, 1, 0}, {30, 2, 5}, node_kind)
      .task_group(domain, {41, 1, 0}, {30, 2, 5}, node_kind)
      .task_group(domain, {42, 1, 0}, {40, 1, 0}, input_kind)
      .relation(domain, {40, 0, 0}, relation_code::is_child_of, {30, 2, 5})
      .relation(domain, {40, 1, 0}, relation_code::makes_edge_to, {50, 0, 0})
      .relation(domain, {50, 0, 0}, relation_code::makes_edge_to, {41, 1, 0})
      .task_begin(domain, {30, 0, 5}, {}, region_kind, 0)
      .task_begin(domain, {30, 2, 5}, {}, implicit_kind, 0)
      .task_begin(domain, {40, 0, 0}, {30, 2, 5}, explicit_kind, 0)
      .metadata(domain, {40, 0, 0}, address_key, kzr::value_type::u64, 1, 5000)
      .task_end(domain)
      .task_end(domain)
      .task_end(domain)
      .end()
      .take();
}

std::string damaged_kinds(trace_form form) {
  return words(form, "pwl")
      .definition(1, "definition", 2, 3)
      .api_version("1.0")
      .wide_domain(2, u"openmp")
      .wide_metadata_string(domain, source, name_key, u"wide")
      .id_create(domain, source)
      .id_destroy(domain, source)
      .metadata(domain, source, address_key, kzr::value_type::u32, 2, 1)
      .wide_string_handle(30, u"wide")
      .end()
      .take();
}

void write(const std::filesystem::path& path, std::string_view bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make_seeds <corpus directory>\n";
    return 2;
  }
  const std::filesystem::path corpus = argv[1];
  constexpr std::size_t header_bytes = 17;
  const auto all = [](trace_form form) {
    return std::vector<std::pair<std::string, std::string>>{
        {"flow_graph", flow_graph(form)},
        {"composite", composite_graph(form, false, false)},
        {"nested", composite_graph(form, true, false)},
        {"streaming", composite_graph(form, true, true)},
        {"openmp", openmp_region(form)},
        {"kinds", damaged_kinds(form)},
    };
  };
  const auto binary = all(trace_form::binary);
  const auto xml = all(trace_form::xml);
  for (const auto& [name, bytes] : binary) {
    write(corpus / "binary_reader" / ("seed_" + name), std::string_view(bytes).substr(header_bytes));
  }
  for (const auto& [name, bytes] : xml) write(corpus / "xml" / ("seed_" + name), bytes);
  const std::string images = "a.so,4096,8191,0,1\nb.so,8192,9000,0,0\n";
  for (std::size_t i = 0; i < binary.size(); ++i) {
    run_input run;
    run.omp_experimental = binary[i].first == "openmp";
    run.has_results_directory = i % 2 == 0;
    run.image_list = images;
    run.trace_files = {binary[i].second, binary[(i + 1) % binary.size()].second};
    write(corpus / "run" / ("seed_" + binary[i].first), run.bytes());
    run.trace_files = {binary[i].second, xml[i].second};
    write(corpus / "run" / ("seed_mixed_" + binary[i].first), run.bytes());
  }
  return 0;
}
