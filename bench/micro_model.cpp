// Finding a symbol, and the lines of both documents. An item is a look-up or a line, for nodes an element.

#include <benchmark/benchmark.h>

#include <random>
#include <sstream>

#include "bench/scratch_directory.h"
#include "model/kzr_data_manager.h"
#include "traceml/kzr_traceml_writer.h"

namespace {

using kzr::bench::scratch_directory;

/// A graph of nodes with a name, two ports and a body each.
class sample_model {
 public:
  explicit sample_model(std::int64_t nodes) : dm_(scratch_.file("model"), "2500000000", "8") {
    constexpr std::uint64_t graph_kind = 1, node_kind = 2, input_kind = 3, output_kind = 4;
    dm_.add_string_handle(graph_kind, 0, "graph");
    dm_.add_string_handle(node_kind, 0, "all::node::pwl::function_node");
    dm_.add_string_handle(input_kind, 0, "input_port0");
    dm_.add_string_handle(output_kind, 0, "output_port0");
    dm_.add_string_handle(object_name, 0, "object_name");
    const auto graph = dm_.add_graph({1, 0, 0}, nullptr, graph_kind);
    for (std::int64_t number = 0; number < nodes; ++number) {
      const std::uint64_t address = 0x7f3a'1000'0000 + 0x240 * static_cast<std::uint64_t>(number);
      const auto node = dm_.add_node({address, 0, 0}, *graph, node_kind);
      node->add_metadata(object_name, 12, "decode_stage");
      dm_.add_input_port({address + 0x48, 0, 0}, *node, input_kind);
      dm_.add_output_port({address + 0xd0, 0, 0}, *node, output_kind);
      bodies_.push_back({address + 0x158, 0, 0});
      dm_.add_body(bodies_.back(), *node);
    }
  }

  [[nodiscard]] kzr_data_manager& data() { return dm_; }
  [[nodiscard]] const std::vector<___onx_id>& bodies() const { return bodies_; }
  [[nodiscard]] std::string timeline_name() const { return scratch_.file("timeline"); }

 private:
  static constexpr std::uint64_t object_name = 5;

  scratch_directory scratch_;
  kzr_data_manager dm_;
  std::vector<___onx_id> bodies_;
};

void find_symbols(benchmark::State& state) {
  sample_model model(state.range(0));
  constexpr std::size_t count = 1 << 16;
  std::vector<___onx_id> wanted;
  std::mt19937_64 random(1);
  for (std::size_t i = 0; i < count; ++i) wanted.push_back(model.bodies()[random() % model.bodies().size()]);
  for ([[maybe_unused]] auto _ : state) {
    for (const ___onx_id& id : wanted) benchmark::DoNotOptimize(model.data().find_sym(id));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}
BENCHMARK(find_symbols)->Arg(100)->Arg(200'000);

void write_task_lines(benchmark::State& state) {
  constexpr std::uint64_t lines = 200'000;
  sample_model model(100);
  std::vector<std::shared_ptr<kzr_symbol>> bodies;
  for (const ___onx_id& id : model.bodies()) bodies.push_back(model.data().get_sym(id));
  for ([[maybe_unused]] auto _ : state) {
    kzr_traceml_writer writer(model.data(), model.timeline_name(), "2500000000", "8");
    for (std::uint64_t i = 0; i < lines; i += 2) {
      writer.task_begin(812'345'678'901 + i * 100, 3, bodies[i % bodies.size()], 7, 5, "pwl.flow");
      writer.task_end(812'345'678'951 + i * 100, 3);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(lines));
}
BENCHMARK(write_task_lines);

void write_node_elements(benchmark::State& state) {
  sample_model model(1'000);
  const std::vector<node_symbol*> nodes = model.data().find_sym_as<graph_symbol>({1, 0, 0})->nodes_by_name();
  std::ostringstream document;
  for ([[maybe_unused]] auto _ : state) {
    document.seekp(0);
    for (node_symbol* const node : nodes) node->dump_as_graphml(model.data(), document, "  ");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nodes.size()));
}
BENCHMARK(write_node_elements);

}  // namespace
