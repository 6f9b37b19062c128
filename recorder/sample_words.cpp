#include "recorder/sample_words.h"

namespace kzr::sample {

trace_encoder& add_words(trace_encoder& encoder, std::string_view domain_name) {
  return encoder.domain(domain, domain_name)
      .string_handle(graph_kind, "graph")
      .string_handle(node_kind, "node")
      .string_handle(input_kind, "input_port0")
      .string_handle(output_kind, "output_port0")
      .string_handle(name_key, "object_name")
      .string_handle(address_key, "code_address")
      .string_handle(composite_kind, "composite_node")
      .string_handle(special_kind, "opencl_node")
      .string_handle(region_kind, "omp_parallel")
      .string_handle(implicit_kind, "omp_implicit")
      .string_handle(explicit_kind, "omp_explicit");
}

}  // namespace kzr::sample
