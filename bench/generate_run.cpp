// Writes the trace files of a run that is shaped like a real one and always the same for the same arguments.
// Prints the number of its events: of all records but the one that ends each file.

#include <algorithm>
#include <array>
#include <fstream>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bench/run_files.h"

namespace {

using kzr::object_id;
using kzr::relation_code;
using kzr::trace_form;
using kzr::bench::thread_files;
using kzr::bench::trace_file;

/// What to generate. `scale` multiplies the number of nodes, tasks or texts, but not that of the files.
struct run_plan {
  std::string directory;
  double scale = 1;
  std::size_t files = 0;  ///< 0 for the workload's own number

  [[nodiscard]] std::size_t scaled(double count) const { return static_cast<std::size_t>(count * scale); }
  [[nodiscard]] std::size_t files_or(std::size_t usual) const { return files != 0 ? files : usual; }
};

/// Handles are addresses of texts in the traced program, identifiers addresses of its objects.
constexpr std::uint64_t text_address(std::uint64_t number) { return 0x55d0'4a80'2010 + 0x60 * number; }

constexpr std::uint64_t flow_domain = 0x55d0'4a7f'e0a0;
constexpr std::uint64_t graph_kind = text_address(0);
constexpr std::uint64_t object_name = text_address(1);
constexpr std::uint64_t code_address = text_address(2);
constexpr std::uint64_t input_port = text_address(3);
constexpr std::uint64_t output_port = text_address(4);
constexpr std::uint64_t task_name = text_address(5);
constexpr std::uint64_t remark = text_address(6);
constexpr std::uint64_t composite_kind = text_address(7);
constexpr std::uint64_t first_free_text = text_address(32);

constexpr std::array<std::string_view, 4> node_kinds = {
    "all::node::pwl::function_node", "all::node::pwl::multifunction_node", "all::node::pwl::buffer_node",
    "join_node (queueing)"};

constexpr std::uint64_t node_kind(std::uint64_t number) {
  return text_address(8 + number % node_kinds.size());
}

constexpr object_id graph_id{0x7ffd'3c21'8e40, 0, 0};

constexpr object_id node_id(std::uint64_t number) { return {0x7f3a'1000'0000 + 0x240 * number, 0, 0}; }
constexpr object_id input_id(std::uint64_t number) { return {node_id(number).d1 + 0x48, 0, 0}; }
constexpr object_id output_id(std::uint64_t number) { return {node_id(number).d1 + 0xd0, 0, 0}; }
constexpr object_id body_id(std::uint64_t number) { return {node_id(number).d1 + 0x158, 0, 0}; }

/// Bodies share the code of some hundred functions, which the image list below knows.
constexpr std::uint64_t body_address(std::uint64_t number) {
  return 0x55d0'4a60'1200 + 0x130 * (number % 300);
}

void write_image_list(const std::string& directory) {
  std::ofstream list(directory + "/imageload.csv");
  list << "/usr/lib/x86_64-linux-gnu/libc.so.6,139887241691136,139887243649023,1,1\n"
       << "/opt/app/lib/libpipeline.so,139887235399680,139887237300223,1,1\n"
       << "/opt/app/bin/pipeline," << 0x55d0'4a60'0000 << ',' << 0x55d0'4a7f'ffff << ",1,1\n";
}

std::string node_name(std::uint64_t number) {
  constexpr std::array<std::string_view, 6> verbs = {"read", "decode", "filter", "merge", "score", "write"};
  return std::string(verbs[number % verbs.size()]) + "_stage_" + std::to_string(number);
}

void announce_vocabulary(thread_files& files) {
  files.on(0).domain(flow_domain, "pwl.flow");
  const auto announce = [&files](std::uint64_t handle, std::string_view text) {
    files.on(0).string_handle(handle, text);
  };
  announce(graph_kind, "graph");
  announce(object_name, "object_name");
  announce(code_address, "code_address");
  announce(input_port, "input_port0");
  announce(output_port, "output_port0");
  announce(task_name, "node_body");
  announce(remark, "remark");
  announce(composite_kind, "composite_node");
  for (std::size_t kind = 0; kind < node_kinds.size(); ++kind) {
    announce(node_kind(kind), node_kinds[kind]);
  }
  files.on(0).task_group(flow_domain, graph_id, {}, graph_kind);
  files.on(0).metadata_string(flow_domain, graph_id, object_name, "pipeline");
}

/// Nodes with a name, an input, an output and a body each. All threads make nodes at the same time, so
/// records of different nodes mix. `behind_port(node, port)` may add records right behind that of a port.
template <class Behind_port>
void announce_nodes(thread_files& files, std::size_t count, Behind_port behind_port) {
  constexpr int steps = 6;
  for (std::size_t first = 0; first < count; first += files.count()) {
    for (int step = 0; step < steps; ++step) {
      for (std::size_t thread = 0; thread < files.count() && first + thread < count; ++thread) {
        const std::size_t node = first + thread;
        kzr::trace_encoder& record = files.on(thread);
        switch (step) {
          case 0:
            record.task_group(flow_domain, node_id(node), graph_id, node_kind(node));
            break;
          case 1:
            record.metadata_string(flow_domain, node_id(node), object_name, node_name(node));
            break;
          case 2:
            record.task_group(flow_domain, input_id(node), node_id(node), input_port);
            behind_port(node, input_id(node));
            break;
          case 3:
            record.task_group(flow_domain, output_id(node), node_id(node), output_port);
            behind_port(node, output_id(node));
            break;
          case 4:
            record.relation(flow_domain, body_id(node), relation_code::is_child_of, node_id(node));
            break;
          default:
            record.metadata(flow_domain, node_id(node), code_address, kzr::value_type::u64, 1,
                            body_address(node));
        }
      }
    }
  }
}

void announce_edge(thread_files& files, std::size_t thread, const object_id& from, const object_id& to) {
  files.on(thread).relation(flow_domain, from, relation_code::makes_edge_to, to);
}

/// An edge from each node to the next one.
void announce_chain(thread_files& files, std::size_t count) {
  for (std::size_t node = 0; node + 1 < count; ++node) {
    announce_edge(files, node % files.count(), output_id(node), input_id(node + 1));
  }
}

/// `pairs` begins and ends of tasks of one thread from `time` on, some of them within others. Returns the
/// time behind the last one.
std::uint64_t write_tasks(trace_file& file, std::uint64_t seed, std::size_t pairs, std::size_t nodes,
                          std::uint64_t time) {
  std::mt19937_64 random(seed);
  std::size_t begun = 0;
  std::size_t ended = 0;
  while (ended < pairs) {
    const std::size_t open = begun - ended;
    const bool begins = begun < pairs && (open == 0 || (open < 3 && random() % 8 == 0));
    time += begins ? 200 + random() % 1'000 : 1'000 + random() % 20'000;
    if (begins) {
      file.at(time).task_begin(flow_domain, body_id(random() % nodes), graph_id, task_name,
                               seed % trace_file::concurrency);
      ++begun;
    } else {
      file.at(time).task_end(flow_domain);
      ++ended;
    }
  }
  return time;
}

/// A graph of a hundred nodes, then tasks in every file. A file is written and closed before the next one, so
/// that there may be any number of them.
std::uint64_t write_timeline(const run_plan& plan, std::size_t files, std::size_t task_records,
                             trace_form form) {
  constexpr std::size_t nodes = 100;
  const std::size_t pairs = task_records / 2;
  thread_files setup(plan.directory, 1, form);
  announce_vocabulary(setup);
  announce_nodes(setup, nodes, [](std::size_t, const object_id&) {});
  announce_chain(setup, nodes);
  const std::uint64_t setup_end = write_tasks(setup.file(0), 0, pairs / files, nodes, setup.now());
  std::uint64_t events = 0;
  for (std::size_t number = 1; number < files; ++number) {
    trace_file file(plan.directory, number, form);
    const std::size_t own_pairs = pairs * (number + 1) / files - pairs * number / files;
    file.finish(write_tasks(file, number, own_pairs, nodes, setup.now()));
    events += file.record_count();
  }
  return events + setup.finish(setup_end);
}

constexpr std::size_t builder_threads = 4;

std::uint64_t write_structure(const run_plan& plan) {
  const std::size_t nodes = plan.scaled(200'000);
  const std::size_t further_edges = nodes / 2;
  thread_files files(plan.directory, builder_threads, trace_form::binary);
  announce_vocabulary(files);
  announce_nodes(files, nodes, [](std::size_t, const object_id&) {});
  announce_chain(files, nodes);
  std::mt19937_64 random(2);
  for (std::size_t edge = 0; edge < further_edges; ++edge) {
    const std::size_t from = random() % nodes;
    announce_edge(files, edge % files.count(), output_id(from), input_id(from + random() % (nodes - from)));
  }
  return files.finish();
}

/// A source, a composite node around a chain, and a sink.
std::uint64_t write_chain(const run_plan& plan) {
  const std::size_t inner = plan.scaled(200'000);
  const object_id outer{0x7f39'f000'0000, 0, 0};
  thread_files files(plan.directory, builder_threads, trace_form::binary);
  announce_vocabulary(files);
  files.on(0).task_group(flow_domain, outer, graph_id, composite_kind);
  files.on(0).metadata_string(flow_domain, outer, object_name, "whole_pipeline");

  // The composite node's port follows the inner one that it shows, and shares the first word with it.
  const object_id first_input = input_id(0);
  const object_id last_output = output_id(inner - 1);
  const object_id outer_input{first_input.d1, 1, 0};
  const object_id outer_output{last_output.d1, 1, 0};
  const auto show = [&files, &outer](const object_id& port, std::uint64_t kind) {
    files.on(0).task_group(flow_domain, port, outer, kind);
    files.on(0).relation(flow_domain, outer, relation_code::is_parent_of, port);
  };
  announce_nodes(files, inner, [&](std::size_t, const object_id& port) {
    if (port == first_input) show(outer_input, input_port);
    if (port == last_output) show(outer_output, output_port);
  });
  announce_chain(files, inner);

  const std::size_t source = inner;
  const std::size_t sink = inner + 1;
  for (const std::size_t node : {source, sink}) {
    files.on(0).task_group(flow_domain, node_id(node), graph_id, node_kind(0));
  }
  files.on(0).task_group(flow_domain, output_id(source), node_id(source), output_port);
  files.on(0).task_group(flow_domain, input_id(sink), node_id(sink), input_port);
  announce_edge(files, 0, output_id(source), outer_input);
  announce_edge(files, 0, outer_output, input_id(sink));
  return files.finish();
}

/// User events about requests, in turn with the names of the handlers that serve them.
std::uint64_t write_strings(const run_plan& plan) {
  const std::size_t texts = plan.scaled(200'000);
  thread_files files(plan.directory, builder_threads, trace_form::binary);
  announce_vocabulary(files);
  std::mt19937_64 random(3);
  for (std::size_t number = 0; number < texts; ++number) {
    const std::string digits = std::to_string(number);
    kzr::trace_encoder& record = files.on(random() % files.count());
    if (number % 2 == 0) {
      const object_id unknown{0x7f38'0000'0000 + 0x50 * number, 0, 0};
      record.metadata_string(flow_domain, unknown, remark,
                             "request " + digits + " took " + std::to_string(random() % 5'000) + " us");
    } else {
      record.string_handle(first_free_text + 0x60 * number, "handler_of_request_" + digits);
    }
  }
  return files.finish();
}

/// OpenMP regions that the threads of a team pass through again and again: an implicit task each, in it some
/// explicit tasks, few of which are long, and a barrier at which all wait for the last one.
class openmp_team {
 public:
  openmp_team(const run_plan& plan, std::size_t threads)
      : files_(plan.directory, threads, trace_form::binary) {
    files_.on(0).domain(openmp_domain, "openmp");
    for (std::size_t text = 0; text < texts.size(); ++text) {
      files_.on(0).string_handle(text_address(text), texts[text]);
    }
    files_.on(0).task_group(openmp_domain, graph_id, {}, handle_of("graph"));
    for (std::size_t region = 0; region < regions; ++region) announce(region);
  }

  std::uint64_t write(std::size_t rounds) {
    std::uint64_t time = files_.now();
    for (std::size_t round = 0; round < rounds; ++round) time = pass_through(random_() % regions, time);
    return files_.finish(time);
  }

 private:
  static constexpr std::uint64_t openmp_domain = 0x55d0'4a7f'e0b0;
  static constexpr std::size_t regions = 8;
  static constexpr std::size_t tasks_of_region = 4;
  static constexpr std::array<std::string_view, 8> texts = {"graph",       "composite_node", "function_node",
                                                            "object_name", "omp_parallel",   "omp_implicit",
                                                            "omp_barrier", "omp_explicit"};

  static std::uint64_t handle_of(std::string_view text) {
    return text_address(static_cast<std::uint64_t>(std::ranges::find(texts, text) - texts.begin()));
  }
  static object_id region_id(std::size_t region) { return {0x7f37'0000'0000 + 0x1000 * region, 0, 0}; }
  static object_id implicit_id(std::size_t region, std::size_t thread) {
    return {region_id(region).d1, 2 + thread, 0};
  }
  static object_id task_id(std::size_t region, std::size_t task) {
    return {region_id(region).d1 + 0x100 * (task + 1), 0, 0};
  }

  void announce(std::size_t region) {
    const auto group = [this](const object_id& id, const object_id& parent, std::string_view kind) {
      files_.on(0).task_group(openmp_domain, id, parent, handle_of(kind));
    };
    group(region_id(region), {}, "omp_parallel");
    group({region_id(region).d1, 1, 0}, graph_id, "composite_node");
    for (std::size_t thread = 0; thread < files_.count(); ++thread) {
      group(implicit_id(region, thread), region_id(region), "omp_implicit");
    }
    for (std::size_t task = 0; task < tasks_of_region; ++task) {
      const object_id id = task_id(region, task);
      files_.on(0).relation(openmp_domain, id, relation_code::is_child_of, implicit_id(region, 0));
      group({id.d1, 1, 0}, implicit_id(region, 0), "function_node");
    }
  }

  std::uint64_t pass_through(std::size_t region, std::uint64_t time) {
    const auto begin = [&](std::size_t thread, std::uint64_t at, const object_id& id, const object_id& parent,
                           std::string_view name) {
      files_.file(thread).at(at).task_begin(openmp_domain, id, parent, handle_of(name), thread);
    };
    const auto end = [&](std::size_t thread, std::uint64_t at) {
      files_.file(thread).at(at).task_end(openmp_domain);
    };
    begin(0, time, region_id(region), {}, "omp_parallel");
    std::vector<std::uint64_t> times(files_.count());
    for (std::size_t thread = 0; thread < files_.count(); ++thread) {
      std::uint64_t& now = times[thread] = time + 100 + random_() % 1'000;
      begin(thread, now, implicit_id(region, thread), region_id(region), "omp_implicit");
      for (std::size_t task = 4 + random_() % 8; task > 0; --task) {
        begin(thread, now += 50 + random_() % 200, task_id(region, random_() % tasks_of_region), {},
              "omp_explicit");
        end(thread, now += 1 + static_cast<std::uint64_t>(durations_(random_)));
      }
      begin(thread, now += 50, implicit_id(region, thread), region_id(region), "omp_barrier");
    }
    const std::uint64_t last = *std::ranges::max_element(times) + 200;
    for (std::size_t thread = 0; thread < files_.count(); ++thread) {
      times[thread] = last + random_() % 300;
      end(thread, times[thread]);
      end(thread, times[thread] + 50);
    }
    const std::uint64_t behind = *std::ranges::max_element(times) + 100;
    end(0, behind);
    return behind + 500;
  }

  thread_files files_;
  std::mt19937_64 random_{4};
  std::lognormal_distribution<double> durations_{8.5, 1.2};
};

std::uint64_t write_workload(std::string_view workload, const run_plan& plan) {
  if (workload == "timeline") {
    return write_timeline(plan, plan.files_or(8), plan.scaled(2'000'000), trace_form::binary);
  }
  if (workload == "manyfiles") {
    const std::size_t files = plan.files_or(1'000);
    return write_timeline(plan, files, files * plan.scaled(2'000), trace_form::binary);
  }
  if (workload == "xml") {
    return write_timeline(plan, plan.files_or(8), plan.scaled(200'000), trace_form::xml);
  }
  if (workload == "strings") return write_strings(plan);
  if (workload == "structure") return write_structure(plan);
  if (workload == "chain") return write_chain(plan);
  if (workload == "openmp") return openmp_team(plan, plan.files_or(8)).write(plan.scaled(12'500));
  if (workload == "empty") return thread_files(plan.directory, 1, trace_form::binary).finish();
  throw std::invalid_argument("no such workload: " + std::string(workload));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: generate_run timeline|manyfiles|strings|structure|chain|openmp|xml|empty DIRECTORY "
                 "[SCALE [FILES]]\n";
    return 2;
  }
  try {
    run_plan plan{.directory = argv[2]};
    if (argc > 3) plan.scale = std::stod(argv[3]);
    if (argc > 4) plan.files = std::stoul(argv[4]);
    if (!(plan.scale > 0 && plan.scale <= 1e6)) throw std::invalid_argument("scale is not between 0 and 1e6");
    write_image_list(plan.directory);
    std::cout << write_workload(argv[1], plan) << '\n';
  } catch (const std::exception& error) {
    std::cerr << "generate_run: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
