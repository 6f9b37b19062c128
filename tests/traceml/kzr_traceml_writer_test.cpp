#include "traceml/kzr_traceml_writer.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "model/kzr_data_manager.h"
#include "model/parallel_region_symbol.h"
#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

/// A writer on a file of its own, and what it wrote.
class traceml_writer_test : public testing::Test {
 protected:
  /// Lets `write` write, closes the document and returns its lines behind the first four.
  template <class Write>
  std::string written(Write write) {
    std::streambuf* const standard = std::cerr.rdbuf(warnings_.rdbuf());
    kzr_traceml_writer writer(dm_, directory_ / "run.traceml", "2400", "8");
    write(writer);
    writer.close();
    std::cerr.rdbuf(standard);
    const std::string text = read_file(directory_ / "run.traceml");
    const std::string start = "<time reference=\"clockticks\" frequency_in_hertz=\"2400\"/>\n";
    const std::size_t at = text.find(start);
    return at == std::string::npos ? text : text.substr(at + start.size());
  }

  scratch_directory directory_;
  kzr_data_manager dm_{"run"};
  std::ostringstream warnings_;
};

TEST_F(traceml_writer_test, ends_tasks_that_are_open_and_drops_ends_that_match_nothing) {
  const std::string text = written([](kzr_traceml_writer& writer) {
    writer.task_end(5, 3);
    writer.task_begin(10, 12, nullptr, 0, 1, "a");
    writer.task_begin(11, 12, nullptr, 0, 1, "a");
    writer.explicit_task_begin(12, 3, nullptr, nullptr, 1, "a");
    writer.task_end(13, 3);
    writer.task_end(14, 3);
    writer.task_begin(15, 3, nullptr, 0, 1, "a");
    writer.omp_parallel_region_begin(16, 4, nullptr, nullptr, 1, "a");  // opens no task
    writer.remove_edge(20, 1, nullptr);
    writer.task_end(30, 4);  // writes nothing, but is the latest event
  });
  EXPECT_EQ(
      text.substr(text.rfind("<task_begin")),
      "<task_begin ts=\"16\" tid=\"4\" cid=\"1\" id=\"unknown\" type=\"algorithm\" parent=\"unknown\" "
      "algorithm=\"omp_parallel_region\" stream=\"a\"/>\n"
      "<task_end ts=\"31\" tid=\"3\"/>\n<task_end ts=\"31\" tid=\"12\"/>\n<task_end ts=\"31\" tid=\"12\"/>\n"
      "</traceml>\n");
  EXPECT_EQ(text.find("<task_end"), text.find("<task_end ts=\"13\" tid=\"3\"/>"));
  EXPECT_EQ(text.find("ts=\"14\""), std::string::npos);
  const std::string warning = "WARNING: adding extra task_end to complete open task in _kzr.";
  EXPECT_EQ(warnings_.str(), warning + "3\n" + warning + "12\n" + warning + "12\n");
}

TEST_F(traceml_writer_test, numbers_parallel_and_implicit_tasks_together) {
  dm_.add_string_handle(1, "pwl_flow_graph");
  dm_.add_string_handle(2, "omp_parallel");
  dm_.add_string_handle(3, "omp_barrier");
  dm_.add_parallel_region({1, 0, 0}, nullptr, 1);
  const auto& outer = *dm_.get_sym_as<parallel_region_symbol>({1, 0, 0});
  dm_.add_parallel_region({2, 0, 0}, &outer, 2);
  const auto& inner = *dm_.get_sym_as<parallel_region_symbol>({2, 0, 0});
  const graph_symbol& graph = dm_.add_graph({3, 0, 0});
  const std::string text = written([&](kzr_traceml_writer& writer) {
    writer.parallel_region_begin(1, 0, inner, 1, "s");
    writer.parallel_task_begin(2, 0, outer, 1, "s");
    writer.implicit_task_begin(3, 0, &graph, 3, 1, "s");
    writer.implicit_task_begin(4, 0, nullptr, 2, 1, "s");
    writer.parallel_task_begin(5, 0, inner, 1, "s");
  });
  EXPECT_EQ(
      text.substr(0, text.find("<task_end")),
      R"(<task_begin ts="1" tid="0" cid="1" id="p1" type="algorithm" parent="p0" algorithm="omp_parallel" stream="s"/>
<task_begin ts="2" tid="0" cid="1" id="p0_0" parent="unknown" type="node" algorithm="graph" stream="s"/>
<task_begin ts="3" tid="0" cid="1" id="omp_barrier_1" type="barrier" parent="g0" algorithm="omp_parallel_region" stream="s"/>
<task_begin ts="4" tid="0" cid="1" id="omp_parallel_2" type="algorithm" parent="unknown" algorithm="omp_parallel_region" stream="s"/>
<task_begin ts="5" tid="0" cid="1" id="p1_3" parent="p0" type="algorithm" algorithm="omp_parallel" stream="s"/>
)");
}

}  // namespace
