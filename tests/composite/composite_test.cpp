#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>

#include "support/golden.h"
#include "support/recorded.h"
#include "support/run_model.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace {

using kzr::object_id;
using kzr::relation_code;

/// A recorded flow graph. Objects are made in the order of the calls, nodes from "g0::n0" and edges from e0.
class flow_run {
 public:
  explicit flow_run(kzr::trace_form form = kzr::trace_form::binary) : trace_(recorded(form)) {
    trace_.domain(1, "pwl.flow").string_handle(1, "graph").string_handle(2, "composite_node");
    trace_.string_handle(3, "opencl_node").string_handle(4, "function_node").string_handle(5, "body");
    for (std::uint64_t i = 0; i <= 10; ++i) {  // ':' follows '9': the ports with that name have the offset 10
      const std::string digit(1, static_cast<char>('0' + i));
      trace_.string_handle(input + i, "input_port" + digit).string_handle(output + i, "output_port" + digit);
    }
    trace_.task_group(1, graph_, {}, 1);
  }

  static constexpr std::uint64_t input = 20;   ///< `input + 3` is the name of an input port with offset 3
  static constexpr std::uint64_t output = 40;  ///< the same for output ports

  object_id node() { return announce(graph_, 4); }
  object_id composite() { return announce(graph_, 2); }
  void make_streaming(const object_id& composite) { trace_.task_group(1, composite, graph_, 3); }
  object_id port(const object_id& node, std::uint64_t name) { return announce(node, name); }
  /// An outer port of `composite` for which `inner`, the port announced last under its first word, stands.
  object_id outer(const object_id& composite, std::uint64_t name, const object_id& inner) {
    const object_id id{inner.d1, ++last_, 0};
    trace_.task_group(1, id, composite, name);
    relate(composite, relation_code::is_parent_of, id);
    return id;
  }
  flow_run& relate(const object_id& head, relation_code code, const object_id& tail) {
    trace_.relation(1, head, code, tail);
    return *this;
  }
  flow_run& edge(const object_id& source, const object_id& target) {
    return relate(source, relation_code::makes_edge_to, target);
  }
  void run_body_of(const object_id& node) {
    const object_id body{++last_, 0, 0};
    relate(body, relation_code::is_child_of, node);
    trace_.task_begin(1, body, node, 5, 0).task_end(1);
  }
  /// A region of the node in its final place, and one in the graph that it was announced in.
  void run_regions_of(const object_id& node) {
    for (const object_id& parent : {object_id{}, graph_}) {
      trace_.region_begin(1, node, parent, 4).region_end(1, node);
    }
  }

  void write_in(const std::filesystem::path& directory) {
    write_file(directory / "_kzr.0", trace_.end().bytes());
  }
  void convert_in(const std::filesystem::path& directory) {
    write_in(directory);
    // With a small stack, so that nothing nests with the graphs unnoticed.
    const program_result result =
        run_program({"/bin/sh", "-c", "ulimit -s 256 && exec " KZR2XML_PROGRAM " run"}, directory);
    EXPECT_EQ(result.exit_status, 0) << result.err;
  }

 private:
  object_id announce(const object_id& parent, std::uint64_t name) {
    const object_id id{++last_, 0, 0};
    trace_.task_group(1, id, parent, name);
    return id;
  }

  kzr::trace_encoder trace_;
  std::uint64_t last_ = 100;
  object_id graph_{100, 0, 0};
};

constexpr std::uint64_t in = flow_run::input;
constexpr std::uint64_t out = flow_run::output;

class composite_documents : public golden_run {
 protected:
  void expect_case(const std::string& name, flow_run& run) {
    run.convert_in(directory_.path());
    expect_golden(name);
  }
};
KZR_IN_BOTH_FORMS(composite_documents);

TEST_P(composite_documents, shows_its_inside_in_a_document_of_its_own) {
  flow_run run{GetParam()};
  const object_id source = run.node(), composite = run.composite(), x = run.node(), y = run.node();
  const object_id sink = run.node(), hidden = run.node();
  const object_id source_out = run.port(source, out), x_in = run.port(x, in), x_out = run.port(x, out);
  const object_id y_in = run.port(y, in), y_out = run.port(y, out), y_back = run.port(y, out + 1);
  const object_id sink_in = run.port(sink, in), hidden_in = run.port(hidden, in);
  run.outer(composite, in, x_in);
  run.outer(composite, out + 2, y_out);
  run.relate(hidden, relation_code::is_child_of, composite);
  run.edge(source_out, x_in).edge(x_out, y_in).edge(y_out, sink_in);
  run.edge(y_back, x_in);  // feedback: stays inside, at the aliased port
  run.edge(x_out, hidden_in);
  run.edge(x_out, y_in);  // replaces the second edge
  run.edge(source_out, y_in).relate(source_out, relation_code::removes_edge_to, y_in);
  run.run_body_of(x);
  run.run_regions_of(x);
  expect_case("composite", run);
}

/// A graph whose composite node `a` holds p, b and q; b holds x. One port of x goes out through both.
void record_nested(flow_run& run, const object_id& source, const object_id& a, const object_id& b) {
  const object_id p = run.node(), x = run.node(), q = run.node(), sink = run.node();
  const object_id source_out0 = run.port(source, out), source_out1 = run.port(source, out + 1);
  const object_id p_in = run.port(p, in), p_out = run.port(p, out), x_in0 = run.port(x, in);
  const object_id x_in1 = run.port(x, in + 1), x_out = run.port(x, out), q_in = run.port(q, in);
  const object_id q_out = run.port(q, out), sink_in = run.port(sink, in);
  run.outer(a, in, p_in);
  run.outer(b, in, x_in0);
  run.outer(a, in + 1, run.outer(b, in + 1, x_in1));
  const object_id b_out = run.outer(b, out, x_out);
  run.outer(a, out, q_out);
  run.edge(source_out0, p_in).edge(p_out, x_in0).edge(source_out1, x_in1).edge(b_out, q_in);
  run.edge(q_out, sink_in).edge(q_out, p_in);
}

TEST_P(composite_documents, nests_with_the_outer_one_announced_first) {
  flow_run run{GetParam()};
  const object_id source = run.node(), a = run.composite(), b = run.composite();
  record_nested(run, source, a, b);
  expect_case("composite_nested_outer_first", run);
}

TEST_P(composite_documents, nests_with_the_inner_one_announced_first) {
  flow_run run{GetParam()};
  const object_id source = run.node(), b = run.composite(), a = run.composite();
  record_nested(run, source, a, b);
  expect_case("composite_nested_inner_first", run);
}

TEST_P(composite_documents, of_the_streaming_kind_shows_nothing_of_its_inside) {
  flow_run run{GetParam()};
  const object_id streaming = run.composite(), x = run.node(), nested = run.composite(), y = run.node();
  const object_id source = run.node(), sink = run.node();
  run.make_streaming(streaming);
  const object_id source_out = run.port(source, out), x_in = run.port(x, in), x_out = run.port(x, out);
  const object_id y_in = run.port(y, in), y_out = run.port(y, out), sink_in = run.port(sink, in);
  run.outer(streaming, in, x_in);
  run.outer(nested, in, y_in);
  run.outer(streaming, out, run.outer(nested, out, y_out));
  run.edge(source_out, x_in).edge(x_out, y_in).edge(y_out, sink_in);
  expect_case("composite_streaming", run);
}

TEST_P(composite_documents, with_eleven_inputs_has_data_for_ten) {
  flow_run run{GetParam()};
  const object_id composite = run.composite(), x = run.node(), other = run.node();
  for (std::uint64_t i = 0; i <= 10; ++i) run.outer(composite, in + i, run.port(x, in + i));
  // Neither names a port of the composite node: the first finds x's output, the second no port at all.
  const object_id other_in = run.outer(other, in, run.port(x, out));
  run.relate(composite, relation_code::is_parent_of, other_in);
  run.relate(composite, relation_code::is_parent_of, run.port(other, in + 1));
  expect_case("composite_eleven_inputs", run);
}

TEST_P(composite_documents, loses_no_edge_at_ends_without_alias_or_with_the_same_ends) {
  flow_run run{GetParam()};
  const object_id source = run.node(), composite = run.composite(), x = run.node(), z = run.node();
  const object_id sink = run.node(), m = run.node();
  const object_id source_out = run.port(source, out), x_in = run.port(x, in), x_left = run.port(x, out);
  const object_id x_right = run.port(x, out + 1), m_in0 = run.port(m, in), m_in1 = run.port(m, in + 1);
  const object_id z_in = run.port(z, in), z_out = run.port(z, out), sink_in = run.port(sink, in);
  const object_id outer_in = run.outer(composite, in, x_in), outer_out = run.outer(composite, out, z_out);
  run.port(composite, in + 1);                   // for which no inner port stands
  run.edge(x_left, m_in0).edge(x_right, m_in1);  // branches that meet again
  run.edge(source_out, z_in);                    // only the way in by the composite's inputs is filled
  run.edge(source_out, x_in).edge(source_out, outer_in);
  run.edge(z_out, sink_in).edge(outer_out, sink_in);
  expect_case("composite_open_ends", run);
}

TEST_P(composite_documents, shows_an_edge_in_the_innermost_graph_that_holds_both_ends) {
  flow_run run{GetParam()};
  const object_id sink = run.node(), a = run.composite(), b = run.composite();  // n0, n1, n2
  const object_id x = run.node(), y = run.node(), lost = run.node();            // n3, n4, n5
  const object_id sink_in = run.port(sink, in), x_in = run.port(x, in), x_out = run.port(x, out);
  const object_id y_in = run.port(y, in), y_out = run.port(y, out), y_free = run.port(y, out + 1);
  const object_id a_in = run.outer(a, in, x_in), b_in = run.outer(b, in, y_in);
  const object_id b_out = run.outer(b, out, y_out), a_out = run.outer(a, out, b_out);
  const object_id b_lost = run.outer(b, out + 2, run.port(lost, out));
  run.edge(x_out, y_in);  // e0: both in a; y's end is b's input
  run.edge(a_out, a_in);  // e1: a loop at a, outside, since the outer ports name it
  run.edge(y_out, x_in);  // e2: the same way back, named by the inner ports: inside
  run.edge(a_in, y_in);   // e3: from a into itself: inside, from x's input to b's
  run.edge(b_out, a_in);  // e4: the target is a, which holds b: inside
  run.edge(b_out, b_in);  // e5: a loop at b, in a
  // Removed again, so that they do not draw the sink inside: from a, from y, for whose port none of b stands,
  // and from b, for whose port none of a stands.
  for (const object_id& source : {a_out, y_free, b_lost}) {
    run.edge(source, sink_in).relate(source, relation_code::removes_edge_to, sink_in);
  }
  expect_case("composite_ends", run);
}

TEST(composite, keeps_every_node_once_whatever_the_relations_say) {
  for (unsigned seed = 0; seed < 25; ++seed) {
    SCOPED_TRACE(seed);
    std::minstd_rand random(seed);
    flow_run run;
    constexpr std::size_t count = 30;
    std::vector<object_id> composites, ports;
    for (std::size_t i = 0; i < count; ++i) {
      const object_id node = i % 3 == 0 ? run.composite() : run.node();
      if (i % 3 == 0) composites.push_back(node);
      for (const std::uint64_t name : {in, in + 1, out}) ports.push_back(run.port(node, name));
    }
    const auto any_of = [&random](const std::vector<object_id>& ids) { return ids[random() % ids.size()]; };
    for (std::size_t i = 0; i < count; ++i) {
      ports.push_back(run.outer(any_of(composites), in + i % 2, any_of(ports)));
      run.relate(any_of(composites), relation_code::is_parent_of, any_of(ports));
      run.edge(any_of(ports), any_of(ports));
    }
    const scratch_directory directory;
    run.write_in(directory.path());
    run_model made(directory / "_kzr");
    made.complete();
    EXPECT_EQ(made.model.counts().nodes, count);
  }
}

TEST(composite, nests_as_deep_as_the_trace_likes) {
  for (const bool outer_first : {false, true}) {
    SCOPED_TRACE(outer_first);
    flow_run run;
    std::vector<object_id> composites(3000);
    for (object_id& composite : composites) composite = run.composite();
    if (outer_first) std::reverse(composites.begin(), composites.end());
    object_id inner = run.port(run.node(), in);
    for (const object_id& composite : composites) inner = run.outer(composite, in, inner);
    run.edge(run.port(run.node(), out), inner);
    const scratch_directory directory;
    run.convert_in(directory.path());
    const std::string outermost = read_file(directory / "run.graphml");
    EXPECT_NE(outermost.find(outer_first ? "target=\"g0::n0\"" : "target=\"g0::n2999\""), std::string::npos);
  }
}

TEST(composite, has_the_nodes_that_are_innermost_in_it_whichever_came_first) {
  // B is in A by an output of both. A claims an input of B's node too, and an edge leads from another node of
  // A to one that only B's edges lead to otherwise.
  for (const bool outer_first : {false, true}) {
    SCOPED_TRACE(outer_first);
    flow_run run;
    const object_id first = run.composite();
    const object_id second = run.composite();
    const object_id& a = outer_first ? first : second;
    const object_id& b = outer_first ? second : first;
    const object_id x = run.node();
    const object_id x_in = run.port(x, in), x_in1 = run.port(x, in + 1), x_out = run.port(x, out);
    run.outer(b, in, x_in);
    run.outer(a, out, run.outer(b, out, x_out));
    run.outer(a, in + 1, x_in1);
    const object_id p = run.node();
    const object_id p_in = run.port(p, in), p_out = run.port(p, out), p_out1 = run.port(p, out + 1);
    run.outer(a, in, p_in);
    const object_id w = run.node();
    const object_id w_in = run.port(w, in), w_in1 = run.port(w, in + 1);
    const object_id x_out1 = run.port(x, out + 1);
    run.edge(p_out1, w_in1).edge(p_out, x_in).edge(x_out1, w_in);
    const scratch_directory directory;
    run.write_in(directory.path());
    run_model made(directory / "_kzr");
    made.complete();
    const auto graph_around = [&made](const object_id& node) {
      return &made.model.get_sym_as<node_symbol>({node.d1, 0, 0})->own_graph();
    };
    const auto graph_of = [&made](const object_id& composite) {
      return made.model.get_sym_as<graph_symbol>({composite.d1, 0, 0});
    };
    for (const object_id& inner : {b, p}) EXPECT_EQ(graph_around(inner), graph_of(a));
    for (const object_id& inner : {x, w}) EXPECT_EQ(graph_around(inner), graph_of(b));
  }
}

}  // namespace
