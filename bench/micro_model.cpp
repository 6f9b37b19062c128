// Finding a symbol, and the lines of both documents. An item is a look-up or a line, for nodes an element.

#include <benchmark/benchmark.h>

#include <random>
#include <sstream>

#include "bench/scratch_directory.h"
#include "graphml/graphml_writer.h"
#include "model/kzr_data_manager.h"
#include "traceml/kzr_traceml_writer.h"

namespace {

using kzr::bench::scratch_directory;

/// A graph of nodes with a name, two ports and a body each.
class sample_model {
 public:
  explicit sample_model(std::int64_t nodes) {
    constexpr std::uint64_t graph_kind = 1, node_kind = 2, input_port = 3, output_port = 4, object_name = 5;
    model_.add_string_handle(graph_kind, "graph");
    model_.add_string_handle(node_kind, "all::node::pwl::function_node");
    model_.add_string_handle(input_port, "input_port0");
    model_.add_string_handle(output_port, "output_port0");
    model_.add_string_handle(object_name, "object_name");
    graph_symbol& graph = model_.add_graph({1, 0, 0});
    for (std::int64_t number = 0; number < nodes; ++number) {
      const std::uint64_t address = 0x7f3a'1000'0000 + 0x240 * static_cast<std::uint64_t>(number);
      node_symbol& node = model_.add_node({address, 0, 0}, graph, node_kind);
      model_.add_metadata(node, object_name, "decode_stage");
      model_.add_port({address + 0x48, 0, 0}, node, input_port);
      model_.add_port({address + 0xd0, 0, 0}, node, output_port);
      bodies_.push_back({address + 0x158, 0, 0});
      model_.add_body(bodies_.back(), node);
    }
    model_.complete_inner_graphs();
  }

  [[nodiscard]] const kzr_data_manager& data() const { return model_; }
  [[nodiscard]] const std::vector<___onx_id>& bodies() const { return bodies_; }

 private:
  kzr_data_manager model_{"model"};
  std::vector<___onx_id> bodies_;
};

void find_symbols(benchmark::State& state) {
  const sample_model model(state.range(0));
  constexpr std::size_t count = 1 << 16;
  std::vector<___onx_id> wanted;
  std::mt19937_64 random(1);
  for (std::size_t i = 0; i < count; ++i) wanted.push_back(model.bodies()[random() % model.bodies().size()]);
  for ([[maybe_unused]] auto _ : state) {
    for (const ___onx_id& id : wanted) benchmark::DoNotOptimize(model.data().get_sym(id));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}
BENCHMARK(find_symbols)->Arg(100)->Arg(200'000);

void write_task_lines(benchmark::State& state) {
  constexpr std::uint64_t lines = 200'000;
  const scratch_directory scratch;
  const sample_model model(100);
  std::vector<kzr_symbol*> bodies;
  for (const ___onx_id& id : model.bodies()) bodies.push_back(model.data().get_sym(id));
  for ([[maybe_unused]] auto _ : state) {
    kzr_traceml_writer writer(model.data(), scratch.file("timeline"), "2500000000", "8");
    for (std::uint64_t i = 0; i < lines; i += 2) {
      writer.task_begin(812'345'678'901 + i * 100, 3, bodies[i % bodies.size()], 7, 5, "pwl.flow");
      writer.task_end(812'345'678'951 + i * 100, 3);
    }
    writer.close();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(lines));
}
BENCHMARK(write_task_lines);

void write_node_elements(benchmark::State& state) {
  constexpr std::int64_t nodes = 1'000;
  const sample_model model(nodes);
  graphml_writer writer(model.data());
  std::ostringstream document;
  for ([[maybe_unused]] auto _ : state) {
    document.seekp(0);
    writer.write(model.data().files().front(), document);
  }
  state.SetItemsProcessed(state.iterations() * nodes);
}
BENCHMARK(write_node_elements);

}  // namespace
