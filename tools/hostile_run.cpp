// Writes one of the hostile runs of scripts/stress: traces that are damaged, or larger in some way than any
// program should make them.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>

#include "recorder/sample_words.h"

namespace {

using namespace kzr::sample;
using kzr::object_id;
using kzr::relation_code;
using kzr::trace_encoder;
using kzr::trace_form;

/// A trace file of a run that is written in blocks.
class trace_file {
 public:
  trace_file(const std::filesystem::path& directory, std::size_t number)
      : file_(directory / ("_kzr." + std::to_string(number)), std::ios::binary) {}

  /// To be called now and then; keeps the memory small.
  void flush() {
    constexpr std::size_t block_bytes = 1 << 20;
    if (encoder.view().size() >= block_bytes) file_ << encoder.take();
  }
  void end() { file_ << encoder.end().take(); }
  void raw(const std::string& bytes) { file_ << encoder.take() << bytes; }

  trace_encoder encoder{trace_form::binary, 1000, 4};

 private:
  std::ofstream file_;
};

void add_graph(trace_encoder& encoder) {
  add_words(encoder, "pwl.flow").task_group(domain, graph, {}, graph_kind);
}

using directory_ref = const std::filesystem::path&;

void huge_length(directory_ref directory, std::size_t length) {
  trace_file file(directory, 0);
  add_graph(file.encoder);
  file.encoder.metadata_string(domain, graph, name_key, "");
  std::string bytes = file.encoder.take();
  for (std::size_t i = 0; i < 8; ++i) bytes[bytes.size() - 8 + i] = static_cast<char>(length >> (8 * i));
  file.raw(bytes + "few bytes");
}

void damaged_files(directory_ref directory, std::size_t count) {
  for (std::size_t n = 0; n < count; ++n) {
    trace_file file(directory, n);
    add_graph(file.encoder);
    file.raw("\x0c half a record");
  }
}

void many_files(directory_ref directory, std::size_t count) {
  constexpr int records = 250;
  for (std::size_t n = 0; n < count; ++n) {
    trace_file file(directory, n);
    add_graph(file.encoder);
    for (int i = 0; i < records; ++i) {
      file.encoder.task_begin(domain, graph, {}, node_kind, n % 64).task_end(domain);
    }
    file.end();
  }
}

void write_xml(directory_ref directory, const std::function<void(std::ostream&)>& content) {
  std::ofstream file(directory / "_kzr.0");
  file << "<trace version=\"0\" ts_frequency=\"1000\" hardware_concurrency=\"4\">";
  content(file);
}

void deep_xml(directory_ref directory, std::size_t depth) {
  write_xml(directory, [depth](std::ostream& file) {
    for (std::size_t i = 0; i < depth; ++i) file << "<a><record></record>";
    for (std::size_t i = 0; i < depth; ++i) file << "</a>";
    file << "</trace>";
  });
}

void long_attribute(directory_ref directory, std::size_t size_bytes) {
  write_xml(directory, [size_bytes](std::ostream& file) {
    file << "<record a=\"" << std::string(size_bytes, 'x') << "\"></record></trace>";
  });
}

void open_brackets(directory_ref directory, std::size_t size_bytes) {
  write_xml(directory, [size_bytes](std::ostream& file) { file << std::string(size_bytes, '<'); });
}

void user_events(directory_ref directory, std::size_t count) {
  trace_file file(directory, 0);
  add_graph(file.encoder);
  for (std::size_t i = 0; i < count; ++i) {
    file.encoder.metadata_string(domain, {9, 9, 9}, name_key, "event " + std::to_string(i));
    file.flush();
  }
  file.end();
}

void many_ports(directory_ref directory, std::size_t count) {
  constexpr object_id node{2, 1, 0};
  trace_file file(directory, 0);
  add_graph(file.encoder);
  file.encoder.task_group(domain, node, graph, node_kind);
  for (std::size_t i = 0; i < count; ++i) {
    file.encoder.task_group(domain, {2, 2, i}, node, i % 2 == 0 ? input_kind : output_kind);
    file.flush();
  }
  file.end();
}

void same_edge(directory_ref directory, std::size_t count) {
  constexpr object_id node{2, 1, 0};
  trace_file file(directory, 0);
  add_graph(file.encoder);
  file.encoder.task_group(domain, node, graph, node_kind)
      .task_group(domain, {2, 2, 0}, node, output_kind)
      .task_group(domain, {2, 3, 0}, node, input_kind);
  for (std::size_t i = 0; i < count; ++i) {
    file.encoder.relation(domain, {2, 2, 0}, relation_code::makes_edge_to, {2, 3, 0});
    file.flush();
  }
  file.end();
}

/// Adds a composite node whose one input stands for the inner port with the first word `d1`.
void wrap_in_composite(trace_encoder& encoder, object_id composite, std::uint64_t d1) {
  encoder.task_group(domain, composite, graph, composite_kind)
      .task_group(domain, {d1, 3, composite.d1}, composite, input_kind)
      .relation(domain, composite, relation_code::is_parent_of, {d1, 3, composite.d1});
}

void inner_chain(directory_ref directory, std::size_t length) {
  trace_file file(directory, 0);
  add_graph(file.encoder);
  constexpr std::uint64_t first = 100;
  // Outputs have first words of their own: the composite node's port stands for the input.
  constexpr std::uint64_t to_output = std::uint64_t{1} << 40;
  for (std::uint64_t i = first; i < first + length; ++i) {
    file.encoder.task_group(domain, {i, 1, 0}, graph, node_kind)
        .task_group(domain, {i, 2, 0}, {i, 1, 0}, input_kind)
        .task_group(domain, {i + to_output, 2, 0}, {i, 1, 0}, output_kind);
    if (i > first)
      file.encoder.relation(domain, {i - 1 + to_output, 2, 0}, relation_code::makes_edge_to, {i, 2, 0});
    if (i == first) wrap_in_composite(file.encoder, {2, 1, 0}, first);
    file.flush();
  }
  file.end();
}

void nested_composites(directory_ref directory, std::size_t depth) {
  trace_file file(directory, 0);
  add_graph(file.encoder);
  constexpr std::uint64_t inner = 100;
  file.encoder.task_group(domain, {inner, 1, 0}, graph, node_kind)
      .task_group(domain, {inner, 2, 0}, {inner, 1, 0}, input_kind);
  for (std::uint64_t i = 0; i < depth; ++i) {
    wrap_in_composite(file.encoder, {1000 + i, 1, 0}, inner);
    file.flush();
  }
  file.end();
}

void repeated_word(directory_ref directory, std::size_t count) {
  trace_file file(directory, 0);
  add_graph(file.encoder);
  for (std::size_t i = 0; i < count; ++i) {
    file.encoder.string_handle(100 + i, "composite_node");
    file.flush();
  }
  file.end();
}

void many_names(directory_ref directory, std::size_t count) {
  trace_file file(directory, 0);
  add_graph(file.encoder);
  file.encoder.task_group(domain, {2, 1, 0}, graph, node_kind);
  for (std::size_t i = 0; i < count; ++i) {
    file.encoder.metadata_string(domain, {2, 1, 0}, count - i, "value");
    file.flush();
  }
  file.end();
}

void many_domains(directory_ref directory, std::size_t count) {
  trace_file file(directory, 0);
  add_graph(file.encoder);
  for (std::size_t i = 0; i < count; ++i) {
    file.encoder.domain(100 + i, "pwl.flow").task_begin(100 + i, graph, {}, node_kind, i).task_end(100 + i);
    file.flush();
  }
  file.end();
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, std::function<void(directory_ref, std::size_t)>> runs = {
      {"huge_length", huge_length},       {"damaged_files", damaged_files},
      {"many_files", many_files},         {"deep_xml", deep_xml},
      {"long_attribute", long_attribute}, {"open_brackets", open_brackets},
      {"user_events", user_events},       {"many_ports", many_ports},
      {"same_edge", same_edge},           {"inner_chain", inner_chain},
      {"repeated_word", repeated_word},   {"nested_composites", nested_composites},
      {"many_names", many_names},         {"many_domains", many_domains},
  };
  const auto run = argc == 4 ? runs.find(argv[2]) : runs.end();
  if (run == runs.end()) {
    std::cerr << "usage: hostile_run DIRECTORY RUN SIZE\nruns:";
    for (const auto& [name, write] : runs) std::cerr << ' ' << name;
    std::cerr << '\n';
    return 2;
  }
  std::filesystem::create_directories(argv[1]);
  run->second(argv[1], std::strtoull(argv[3], nullptr, 10));
  return 0;
}
