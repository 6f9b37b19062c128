// Writes one of the small runs that the tests of pages open: always the same for the same name.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "recorder/sample_words.h"

namespace {

using namespace kzr::sample;
using kzr::object_id;
using kzr::relation_code;
using kzr::trace_encoder;

/// Beyond what a browser's numbers hold exactly, as clocks of machines that run for long are.
constexpr std::uint64_t clock_start = (std::uint64_t{1} << 60) + 1;
constexpr std::uint64_t frequency = 1'000'000'000;

/// A run of one flow graph: nodes are announced and linked on thread 0, and run on any thread.
class flow_run {
 public:
  explicit flow_run(std::size_t threads) {
    for (std::size_t i = 0; i < threads; ++i) {
      files_.emplace_back(kzr::trace_form::binary, frequency, threads);
      files_.back().at(clock_start);
    }
    add_words(files_[0], "pwl.flow").task_group(domain, graph, {}, graph_kind);
  }

  /// The record that follows is of this thread, so many ticks behind the start of the clock.
  trace_encoder& on(std::size_t thread, std::uint64_t ticks) {
    return files_[thread].at(clock_start + ticks);
  }

  object_id add_node(const std::string& name, std::uint64_t kind = node_kind) {
    const object_id node = announce(graph, kind);
    files_[0].metadata_string(domain, node, name_key, name);
    return node;
  }
  object_id add_port(const object_id& node, std::uint64_t kind) { return announce(node, kind); }
  /// A port of `composite` for which `inner`, the port announced last, stands.
  void show_outside(const object_id& composite, std::uint64_t kind, const object_id& inner) {
    const object_id outer{inner.d1, ++last_, 0};
    files_[0]
        .task_group(domain, outer, composite, kind)
        .relation(domain, composite, relation_code::is_parent_of, outer);
  }
  void add_edge(const object_id& source, const object_id& target) {
    files_[0].relation(domain, source, relation_code::makes_edge_to, target);
  }

  void write(const std::filesystem::path& directory) {
    for (std::size_t i = 0; i < files_.size(); ++i) {
      std::ofstream(directory / ("_kzr." + std::to_string(i)), std::ios::binary) << files_[i].end().view();
    }
  }

 private:
  object_id announce(const object_id& parent, std::uint64_t kind) {
    const object_id id{++last_, 0, 0};
    files_[0].task_group(domain, id, parent, kind);
    return id;
  }

  std::vector<trace_encoder> files_;
  std::uint64_t last_ = 100;
};

/// Tasks of `nodes` on a thread, one in four with another one inside.
void run_tasks(flow_run& run, std::size_t thread, const std::vector<object_id>& nodes, std::size_t count) {
  std::mt19937_64 random(thread);
  std::uint64_t time = 10'000 + random() % 1'000;
  const auto pass = [&] { return time += random() % 900; };
  const auto begin = [&] {
    run.on(thread, pass()).task_begin(domain, nodes[random() % nodes.size()], graph, node_kind, thread);
  };
  for (std::size_t i = 0; i < count; ++i) {
    begin();
    if (random() % 4 == 0) {
      begin();
      run.on(thread, pass()).task_end(domain);
    }
    run.on(thread, pass()).task_end(domain);
    if (random() % 8 == 0) time += 3'000;
  }
}

/// A pipeline on four threads; its middle is a composite node around decode and another one, that one around
/// the next two. A region of all threads, and a user event.
void pipeline(flow_run& run) {
  const object_id read = run.add_node("read"), stage = run.add_node("stage", composite_kind);
  const object_id decode = run.add_node("decode"), core = run.add_node("core", composite_kind);
  const object_id filter = run.add_node("filter"), score = run.add_node("score");
  const object_id write = run.add_node("write"), never = run.add_node("never");
  const object_id read_out = run.add_port(read, output_kind), decode_in = run.add_port(decode, input_kind);
  run.show_outside(stage, input_kind, decode_in);
  const object_id decode_out = run.add_port(decode, output_kind),
                  filter_in = run.add_port(filter, input_kind);
  run.show_outside(core, input_kind, filter_in);
  const object_id filter_out = run.add_port(filter, output_kind), score_in = run.add_port(score, input_kind);
  const object_id score_out = run.add_port(score, output_kind);
  run.show_outside(core, output_kind, score_out);
  run.show_outside(stage, output_kind, score_out);
  const object_id write_in = run.add_port(write, input_kind), never_in = run.add_port(never, input_kind);
  run.add_edge(read_out, decode_in);
  run.add_edge(decode_out, filter_in);
  run.add_edge(filter_out, score_in);
  run.add_edge(score_out, write_in);
  run.add_edge(read_out, never_in);
  run.on(0, 9'000).metadata_string(domain, {9, 9, 9}, name_key, "input opened");
  run.on(0, 9'100).region_begin(domain, read, {}, node_kind);
  for (std::size_t thread = 0; thread < 4; ++thread)
    run_tasks(run, thread, {read, decode, filter, score, write}, 150);
  run.on(0, 300'000).region_end(domain, read);
}

/// A node, an execution and a user event for each name that is more than a name to something on its way.
void hostile_names(flow_run& run) {
  const std::vector<std::string> names = {
      "</script><script>window.hacked = 1</script>",
      "<!--<script>",
      "<img src=x onerror='window.hacked = 2'>",
      "\"'`&amp;<b>\\",
      "line\nbreak\r\ttab\x01\x1b[31m\x7f",
      "\u202egnp.exe\u2066\u200f",
      "line\u2028separator\u2029",
      "no UTF-8 \xff\xfe \xc3( \xed\xa0\x80",
      "__proto__",
      "constructor",
      "=1+1,\"cell\"\nrow",
      "",
      std::string(10'000, 'l'),
  };
  std::uint64_t time = 10'000;
  for (const std::string& name : names) {
    const object_id node = run.add_node(name);
    run.on(1, time).task_begin(domain, node, graph, node_kind, 0);
    run.on(1, time + 70).task_end(domain);
    time += 100;
  }
}

/// Nodes of two names, one within the other, as tasks that a program makes in two places.
void twins(flow_run& run) {
  std::vector<object_id> nodes;
  for (int i = 0; i < 20; ++i) nodes.push_back(run.add_node(i % 3 == 0 ? "twin" : "twins"));
  for (const std::size_t thread : {0U, 1U}) run_tasks(run, thread, nodes, 60);
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, std::pair<std::size_t, std::function<void(flow_run&)>>> runs = {
      {"pipeline", {4, pipeline}},
      {"hostile_names", {2, hostile_names}},
      {"no_node", {1, [](flow_run&) {}}},
      {"no_task", {1, [](flow_run& run) { run.add_node("idle"); }}},
      {"twins", {2, twins}},
      {"one_task", {1, [](flow_run& run) { run_tasks(run, 0, {run.add_node("only")}, 1); }}},
  };
  const auto run = argc == 3 ? runs.find(argv[1]) : runs.end();
  if (run == runs.end()) {
    std::cerr << "usage: generate_page_run RUN DIRECTORY\nruns:";
    for (const auto& [name, write] : runs) std::cerr << ' ' << name;
    std::cerr << '\n';
    return 2;
  }
  flow_run written(run->second.first);
  run->second.second(written);
  std::filesystem::create_directories(argv[2]);
  written.write(argv[2]);
  return 0;
}
